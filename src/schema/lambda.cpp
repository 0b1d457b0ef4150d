// Process control: starting, stopping and watching the system's processes, and reading files.
#include "schema/families.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// `future_0` to `future_3` are reserved.
constexpr structure log_arg{"log_arg", {
    {"origin_id",     schars(11)},
    {"origin_class",  long_},
    {"time_stamp",    long_},
    {"message_class", long_},
    {"severity",      long_},
    {"data",          schars(121)},
    {"future_0",      long_},
    {"future_1",      long_},
    {"future_2",      long_},
    {"future_3",      long_},
}};

constexpr structure set_stat_arg{"set_stat_arg", {
    {"slot",   int_},
    {"pid",    int_},
    {"status", int_},
}};

constexpr structure ps_entry{"ps_entry", {
    {"slot",   int_},
    {"pid",    int_},
    {"status", int_},
    {"cmd",    schars(64)},
    {"dir",    schars(64)},
}};

constexpr structure regserver_arg{"regserver_arg", {
    {"id", schars(11)},
    {"ok", bool_},
}};

constexpr structure statfile_arg{"statfile_arg", {
    {"filename", string},
}};

constexpr structure statfile_res{"statfile_res", {
    {"ok",   bool_},
    {"size", long_},
}};

constexpr structure readfile_arg{"readfile_arg", {
    {"filename", string},
    {"offset",   long_},
    {"len",      int_},
}};

constexpr structure readfile_res{"readfile_res", {
    {"ok",   bool_},
    {"len",  int_},
    {"data", schars(512)},
}};

constexpr structure get_status_res{"get_status_res", {
    {"state_fax",      int_},
    {"state_gateways", int_},
    {"state_daemons",  int_},
    {"state_drivers",  int_},
}};

constexpr procedure lambda_rows[] = {
    //   name                 argument                result
    { 1, "l_exit_1",          nothing,                nothing},
    { 2, "l_log_1",           inline_(log_arg),       nothing},
    { 3, "l_get_nr_recs_1",   nothing,                long_},
    { 4, "l_get_rec_1",       long_,                  inline_(log_arg)},
    { 5, "l_set_stat_1",      inline_(set_stat_arg),  nothing},
    { 6, "l_ps_1",            nothing,                array_of(ps_entry)},
    { 7, "l_startfax_1",      nothing,                nothing},
    { 8, "l_stopfax_1",       nothing,                nothing},
    { 9, "l_startserver_1",   schars(11),             bool_},
    {10, "l_stopserver_1",    schars(11),             bool_},
    {11, "l_startdrivers_1",  nothing,                bool_},
    {12, "l_stopdriver_1",    schars(11),             bool_},
    {13, "l_startdriver_1",   schars(11),             bool_},
    {14, "l_regserver_1",     inline_(regserver_arg), bool_},
    {15, "l_stopgateways_1",  nothing,                bool_},
    {16, "l_startgateways_1", nothing,                bool_},
    {17, "l_stopgateway_1",   schars(11),             bool_},
    {18, "l_startgateway_1",  schars(11),             bool_},
    {19, "l_version_1",       nothing,                long_},
    {20, "l_statfile_1",      inline_(statfile_arg),  inline_(statfile_res)},
    {21, "l_readfile_1",      inline_(readfile_arg),  inline_(readfile_res)},
    {22, "l_stopdaemons_1",   nothing,                bool_},
    {23, "l_startdaemons_1",  nothing,                bool_},
    {24, "l_stopdaemon_1",    schars(11),             bool_},
    {25, "l_startdaemon_1",   schars(11),             bool_},
    {26, "l_stopdaemon64_1",  schars(64),             bool_},
    {27, "l_startdaemon64_1", schars(64),             bool_},
    {28, "l_kill_1",          long_,                  bool_},
    {29, "l_get_status_1",    nothing,                inline_(get_status_res)},
};

// clang-format on

constexpr procedure_list lambda_processes = list_of(lambda_rows);

}  // namespace kvrpc::schema
