// Process control: starting, stopping and watching the system's processes, and reading files.
#include "schema/families.h"
#include "schema/notes.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// `future_0` to `future_3` are reserved.
KVRPC_RECORD(log_arg,
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
);

KVRPC_RECORD(set_stat_arg,
    {"slot",   int_},
    {"pid",    int_},
    {"status", int_},
);

KVRPC_RECORD(ps_entry,
    {"slot",   int_},
    {"pid",    int_},
    {"status", int_},
    {"cmd",    schars(64)},
    {"dir",    schars(64)},
);

KVRPC_RECORD(regserver_arg,
    {"id", schars(11)},
    {"ok", bool_},
);

KVRPC_RECORD(statfile_arg,
    {"filename", string},
);

KVRPC_RECORD(statfile_res,
    {"ok",   bool_},
    {"size", long_},
);

KVRPC_RECORD(readfile_arg,
    {"filename", string},
    {"offset",   long_},
    {"len",      int_},
);

KVRPC_RECORD(readfile_res,
    {"ok",   bool_},
    {"len",  int_},
    {"data", schars(512)},
);

KVRPC_RECORD(get_status_res,
    {"state_fax",      int_},
    {"state_gateways", int_},
    {"state_daemons",  int_},
    {"state_drivers",  int_},
);

constexpr noted_procedure lambda_noted[] = {
    //   name                 argument                result
    {{ 1, "l_exit_1",          nothing,                nothing},
        from_name("Exit command of the server lambda; takes and returns nothing.")},
    {{ 2, "l_log_1",           inline_(log_arg),       nothing},
        from_name("Writes a record to the log.",
            "l_get_rec_1 l_get_nr_recs_1")},
    {{ 3, "l_get_nr_recs_1",   nothing,                long_},
        from_name("Returns the number of log records.",
            "l_get_rec_1 l_log_1")},
    {{ 4, "l_get_rec_1",       long_,                  inline_(log_arg)},
        from_name("Reads one log record by its number.",
            "l_get_nr_recs_1 l_log_1")},
    {{ 5, "l_set_stat_1",      inline_(set_stat_arg),  nothing},
        from_name("Sets the status of the process with this slot and pid.",
            "l_ps_1")},
    {{ 6, "l_ps_1",            nothing,                array_of(ps_entry)},
        stated("Lists the processes, with slot, pid, status, cmd and dir.",
            "l_get_status_1 l_set_stat_1 l_kill_1")},
    {{ 7, "l_startfax_1",      nothing,                nothing},
        stated("Starts the whole system.",
            "l_stopfax_1 l_get_status_1")},
    {{ 8, "l_stopfax_1",       nothing,                nothing},
        stated("Stops the whole system.",
            "l_startfax_1 l_get_status_1")},
    {{ 9, "l_startserver_1",   schars(11),             bool_},
        stated("Starts a server by name.",
            "l_stopserver_1 l_regserver_1")},
    {{10, "l_stopserver_1",    schars(11),             bool_},
        stated("Stops a server by name.",
            "l_startserver_1")},
    {{11, "l_startdrivers_1",  nothing,                bool_},
        stated("Starts all drivers; there is no call that stops them all.",
            "l_startdriver_1 l_stopdriver_1")},
    {{12, "l_stopdriver_1",    schars(11),             bool_},
        stated("Stops a single driver by name.",
            "l_startdriver_1 l_startdrivers_1")},
    {{13, "l_startdriver_1",   schars(11),             bool_},
        stated("Starts a single driver by name.",
            "l_stopdriver_1 l_startdrivers_1")},
    {{14, "l_regserver_1",     inline_(regserver_arg), bool_},
        from_name("Registers a server by id, with the flag ok.",
            "l_startserver_1")},
    {{15, "l_stopgateways_1",  nothing,                bool_},
        stated("Stops all gateways.",
            "l_startgateways_1 l_stopgateway_1")},
    {{16, "l_startgateways_1", nothing,                bool_},
        stated("Starts all gateways.",
            "l_stopgateways_1 l_startgateway_1")},
    {{17, "l_stopgateway_1",   schars(11),             bool_},
        stated("Stops a single gateway by name.",
            "l_startgateway_1 l_stopgateways_1")},
    {{18, "l_startgateway_1",  schars(11),             bool_},
        stated("Starts a single gateway by name.",
            "l_stopgateway_1 l_startgateways_1")},
    {{19, "l_version_1",       nothing,                long_},
        from_name("Returns a version as a number.",
            "l_get_status_1")},
    {{20, "l_statfile_1",      inline_(statfile_arg),  inline_(statfile_res)},
        stated("Gives the size of a file.",
            "l_readfile_1")},
    {{21, "l_readfile_1",      inline_(readfile_arg),  inline_(readfile_res)},
        stated("Gives a part of a file's content: at most 512 bytes, starting at offset.",
            "l_statfile_1")},
    {{22, "l_stopdaemons_1",   nothing,                bool_},
        stated("Stops all daemons.",
            "l_startdaemons_1 l_stopdaemon64_1 l_stopdaemon_1")},
    {{23, "l_startdaemons_1",  nothing,                bool_},
        stated("Starts all daemons.",
            "l_stopdaemons_1 l_startdaemon64_1 l_startdaemon_1")},
    {{24, "l_stopdaemon_1",    schars(11),             bool_},
        stated("Stops a single daemon by name (up to 10 characters).",
            "l_stopdaemon64_1 l_startdaemon_1 l_stopdaemons_1")},
    {{25, "l_startdaemon_1",   schars(11),             bool_},
        stated("Starts a single daemon by name (up to 10 characters).",
            "l_startdaemon64_1 l_stopdaemon_1 l_startdaemons_1")},
    {{26, "l_stopdaemon64_1",  schars(64),             bool_},
        stated("Stops a single daemon by name (up to 63 characters).",
            "l_stopdaemon_1 l_startdaemon64_1 l_stopdaemons_1")},
    {{27, "l_startdaemon64_1", schars(64),             bool_},
        stated("Starts a single daemon by name (up to 63 characters).",
            "l_startdaemon_1 l_stopdaemon64_1 l_startdaemons_1")},
    {{28, "l_kill_1",          long_,                  bool_},
        from_name("Kills a process by number.",
            "l_ps_1")},
    {{29, "l_get_status_1",    nothing,                inline_(get_status_res)},
        from_name("Reads the states of the fax system, the gateways, the daemons and the drivers.",
            "l_ps_1 l_startfax_1")},
};

// clang-format on

constexpr auto lambda_rows = without_notes(lambda_noted);
constexpr procedure_list lambda_processes = list_of<lambda_rows>();
constexpr noted_list lambda_processes_notes = notes_of(lambda_noted);

}  // namespace kvrpc::schema
