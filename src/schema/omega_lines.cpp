// Administration of lines, routes, printers, servers and named configuration entries by omega.
#include "schema/families.h"
#include "schema/shared_records.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

constexpr structure faxg_rec{"faxg_rec", {
    {"typid",    chars(11)},
    {"comment",  chars(31)},
    {"linesmin", short_},
    {"linesmax", short_},
    {"hwfeat",   long_},
    {"postfeat", long_},
}};

constexpr structure get_faxg_ll_res_node{"get_faxg_ll_res_node", {
    {"next", list_next},
    {"data", inline_(faxg_rec)},
}};

constexpr structure get_faxg_ll_res{"get_faxg_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_faxg_ll_res_node)},
}};

constexpr structure alpha_rec{"alpha_rec", {
    {"alphaid", chars(36)},
    {"net",     chars(11)},
    {"comment", chars(31)},
}};

constexpr structure get_alpha_ll_res_node{"get_alpha_ll_res_node", {
    {"next", list_next},
    {"data", inline_(alpha_rec)},
}};

constexpr structure get_alpha_ll_res{"get_alpha_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_alpha_ll_res_node)},
}};

constexpr structure theta_rec{"theta_rec", {
    {"thetaid", chars(36)},
}};

constexpr structure get_theta_ll_res_node{"get_theta_ll_res_node", {
    {"next", list_next},
    {"data", inline_(theta_rec)},
}};

constexpr structure get_theta_ll_res{"get_theta_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_theta_ll_res_node)},
}};

constexpr structure pi_rec{"pi_rec", {
    {"piid", chars(36)},
    {"net",  chars(11)},
}};

constexpr structure get_pi_ll_res_node{"get_pi_ll_res_node", {
    {"next", list_next},
    {"data", inline_(pi_rec)},
}};

constexpr structure get_pi_ll_res{"get_pi_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_pi_ll_res_node)},
}};

constexpr structure route_rec{"route_rec", {
    {"routeid",  chars(11)},
    {"comment",  chars(31)},
    {"lineid",   chars(11)},
    {"absender", chars(21)},
    {"alphaid",  chars(36)},
    {"userid",   chars(11)},
    {"groupid",  chars(11)},
}};

constexpr structure get_route_ll_res_node{"get_route_ll_res_node", {
    {"next", list_next},
    {"data", inline_(route_rec)},
}};

constexpr structure get_route_ll_res{"get_route_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_route_ll_res_node)},
}};

constexpr structure put_config_arg{"put_config_arg", {
    {"name",     chars(11)},
    {"contents", chars(81)},
    {"protect",  bool_},
}};

constexpr structure get_route_new_arg_v0{"get_route_new_arg_v0", {
    {"routeid", chars(11)},
}};

constexpr structure get_route_new_arg_v1{"get_route_new_arg_v1", {
    {"routeid",      chars(11)},
    {"outselection", int_},
}};

constexpr choice get_route_new_arg{"get_route_new_arg", "selection", {
    {0, "v0", inline_(get_route_new_arg_v0)},
    {1, "v1", inline_(get_route_new_arg_v1)},
}};

constexpr structure get_route_new_res{"get_route_new_res", {
    {"data",    inline_(put_route_new_arg)},
    {"errcode", short_},
}};

constexpr structure get_faxl_new_ll_arg_v0{"get_faxl_new_ll_arg_v0", {
    {"hwfeat", long_},
}};

constexpr structure get_faxl_new_ll_arg_v1{"get_faxl_new_ll_arg_v1", {
    {"hwfeat",       long_},
    {"outselection", int_},
}};

constexpr choice get_faxl_new_ll_arg{"get_faxl_new_ll_arg", "selection", {
    {0, "v0", inline_(get_faxl_new_ll_arg_v0)},
    {1, "v1", inline_(get_faxl_new_ll_arg_v1)},
}};

constexpr structure get_faxl_new_ll_res_node{"get_faxl_new_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_faxl_new_arg)},
}};

constexpr structure get_faxl_new_ll_res{"get_faxl_new_ll_res", {
    {"anz",     long_},
    {"first",   pointer_to(get_faxl_new_ll_res_node)},
    {"errcode", short_},
}};

constexpr structure del_faxl_new_arg_v0{"del_faxl_new_arg_v0", {
    {"lineid", chars(11)},
}};

constexpr choice del_faxl_new_arg{"del_faxl_new_arg", "selection", {
    {0, "v0", inline_(del_faxl_new_arg_v0)},
}};

constexpr structure get_config_ll_arg_v0{"get_config_ll_arg_v0", {
    {"basename",  chars(11)},
    {"pos",       short_},
    {"anz",       short_},
    {"skipempty", bool_},
}};

constexpr structure get_config_ll_arg_v1{"get_config_ll_arg_v1", {
    {"pos",     chars(11)},
    {"anz",     short_},
    {"protect", bool_},
}};

constexpr choice get_config_ll_arg{"get_config_ll_arg", "selection", {
    {0, "v0", inline_(get_config_ll_arg_v0)},
    {1, "v1", inline_(get_config_ll_arg_v1)},
}};

constexpr structure get_config_ll_res_node{"get_config_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_config_arg)},
}};

constexpr structure get_config_ll_res{"get_config_ll_res", {
    {"anz",     short_},
    {"first",   pointer_to(get_config_ll_res_node)},
    {"errcode", short_},
}};

constexpr structure del_route_new_arg_v0{"del_route_new_arg_v0", {
    {"routeid", chars(11)},
}};

constexpr choice del_route_new_arg{"del_route_new_arg", "selection", {
    {0, "v0", inline_(del_route_new_arg_v0)},
}};

constexpr procedure omega_rows[] = {
    //    name                      argument                       result
    {  7, "o_put_faxg_1",           inline_(faxg_rec),             bool_},
    {  8, "o_get_faxg_1",           chars(11),                     inline_(faxg_rec)},
    {  9, "o_get_faxg_ll_1",        nothing,                       inline_(get_faxg_ll_res)},
    { 10, "o_del_faxg_1",           chars(11),                     bool_},
    { 11, "o_put_faxl_1",           inline_(faxl_rec),             bool_},
    { 12, "o_get_faxl_1",           chars(11),                     inline_(faxl_rec)},
    { 13, "o_get_faxl_ll_1",        long_,                         inline_(get_faxl_ll_res)},
    { 14, "o_del_faxl_1",           chars(11),                     bool_},
    { 15, "o_put_printer_1",        inline_(printer_rec),          bool_},
    { 16, "o_get_printer_1",        chars(11),                     inline_(printer_rec)},
    { 17, "o_get_printer_ll_1",     nothing,                       inline_(get_printer_ll_res)},
    { 18, "o_del_printer_1",        chars(11),                     bool_},
    { 19, "o_put_alpha_1",          inline_(alpha_rec),            bool_},
    { 20, "o_get_alpha_1",          chars(36),                     inline_(alpha_rec)},
    { 21, "o_get_alpha_ll_1",       nothing,                       inline_(get_alpha_ll_res)},
    { 22, "o_del_alpha_1",          chars(36),                     bool_},
    { 23, "o_put_theta_1",          inline_(theta_rec),            bool_},
    { 24, "o_get_theta_1",          chars(36),                     inline_(theta_rec)},
    { 25, "o_get_theta_ll_1",       nothing,                       inline_(get_theta_ll_res)},
    { 26, "o_del_theta_1",          chars(36),                     bool_},
    { 27, "o_put_pi_1",             inline_(pi_rec),               bool_},
    { 28, "o_get_pi_1",             chars(36),                     inline_(pi_rec)},
    { 29, "o_get_pi_ll_1",          nothing,                       inline_(get_pi_ll_res)},
    { 30, "o_del_pi_1",             chars(36),                     bool_},
    { 38, "o_put_route_1",          inline_(route_rec),            bool_},
    { 39, "o_get_route_1",          chars(11),                     inline_(route_rec)},
    { 40, "o_get_route_ll_1",       nothing,                       inline_(get_route_ll_res)},
    { 41, "o_del_route_1",          chars(11),                     bool_},
    { 42, "o_apply_route_1",        inline_(apply_route_arg),      inline_(apply_route_res)},
    { 48, "o_put_config_1",         inline_(put_config_arg),       bool_},
    { 49, "o_get_config_1",         chars(11),                     chars(81)},
    { 50, "o_del_config_1",         chars(11),                     bool_},
    { 51, "o_get_configdata_1",     nothing,                       inline_(get_configdata_res)},
    { 55, "o_legalhost_1",          chars(36),                     bool_},
    { 71, "o_get_compat_1",         nothing,                       inline_(get_compat_res)},
    { 87, "o_get_printer_llb_1",    inline_(get_printer_llb_arg),  inline_(get_printer_ll_res)},
    { 91, "o_put_route_new_1",      inline_(put_route_new_arg),    short_},
    { 92, "o_get_route_new_1",      inline_(get_route_new_arg),    inline_(get_route_new_res)},
    { 93, "o_get_route_new_ll_1",   inline_(get_route_new_ll_arg), inline_(get_route_new_ll_res)},
    { 94, "o_apply_route_new_1",    inline_(apply_route_new_arg),  inline_(apply_route_new_res)},
    {101, "o_write_log_1",          bool_,                         short_},
    {102, "o_put_faxl_new_1",       inline_(put_faxl_new_arg),     short_},
    {103, "o_get_faxl_new_1",       inline_(get_faxl_new_arg),     inline_(get_faxl_new_res)},
    {104, "o_get_faxl_new_ll_1",    inline_(get_faxl_new_ll_arg),  inline_(get_faxl_new_ll_res)},
    {105, "o_del_faxl_new_1",       inline_(del_faxl_new_arg),     short_},
    {106, "o_get_config_ll_1",      inline_(get_config_ll_arg),    inline_(get_config_ll_res)},
    {110, "o_del_route_new_1",      inline_(del_route_new_arg),    short_},
    {113, "o_cha_licence_1",        unspecified,                   unspecified},
    {114, "o_get_configdata_new_1", long_,                         inline_(get_configdata_new_res)},
    {115, "o_sync_1",               nothing,                       long_},
};

// clang-format on

constexpr procedure_list omega_lines = list_of(omega_rows);

}  // namespace kvrpc::schema
