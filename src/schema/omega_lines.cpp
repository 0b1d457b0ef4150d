// Administration of lines, routes, printers, servers and named configuration entries by omega.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_lines.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(faxg_rec,
    {"typid",    chars(11)},
    {"comment",  chars(31)},
    {"linesmin", short_},
    {"linesmax", short_},
    {"hwfeat",   long_},
    {"postfeat", long_},
);

KVRPC_RECORD(get_faxg_ll_res_node,
    {"next", list_next},
    {"data", inline_(faxg_rec)},
);

KVRPC_RECORD(get_faxg_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_faxg_ll_res_node)},
);

KVRPC_RECORD(alpha_rec,
    {"alphaid", chars(36)},
    {"net",     chars(11)},
    {"comment", chars(31)},
);

KVRPC_RECORD(get_alpha_ll_res_node,
    {"next", list_next},
    {"data", inline_(alpha_rec)},
);

KVRPC_RECORD(get_alpha_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_alpha_ll_res_node)},
);

KVRPC_RECORD(theta_rec,
    {"thetaid", chars(36)},
);

KVRPC_RECORD(get_theta_ll_res_node,
    {"next", list_next},
    {"data", inline_(theta_rec)},
);

KVRPC_RECORD(get_theta_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_theta_ll_res_node)},
);

KVRPC_RECORD(pi_rec,
    {"piid", chars(36)},
    {"net",  chars(11)},
);

KVRPC_RECORD(get_pi_ll_res_node,
    {"next", list_next},
    {"data", inline_(pi_rec)},
);

KVRPC_RECORD(get_pi_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_pi_ll_res_node)},
);

KVRPC_RECORD(route_rec,
    {"routeid",  chars(11)},
    {"comment",  chars(31)},
    {"lineid",   chars(11)},
    {"absender", chars(21)},
    {"alphaid",  chars(36)},
    {"userid",   chars(11)},
    {"groupid",  chars(11)},
);

KVRPC_RECORD(get_route_ll_res_node,
    {"next", list_next},
    {"data", inline_(route_rec)},
);

KVRPC_RECORD(get_route_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_route_ll_res_node)},
);

KVRPC_RECORD(put_config_arg,
    {"name",     chars(11)},
    {"contents", chars(81)},
    {"protect",  bool_},
);

KVRPC_RECORD(get_route_new_arg_v0,
    {"routeid", chars(11)},
);

KVRPC_RECORD(get_route_new_arg_v1,
    {"routeid",      chars(11)},
    {"outselection", int_},
);

KVRPC_UNION(get_route_new_arg, "selection",
    {0, "v0", inline_(get_route_new_arg_v0)},
    {1, "v1", inline_(get_route_new_arg_v1)},
);

KVRPC_RECORD(get_route_new_res,
    {"data",    inline_(put_route_new_arg)},
    {"errcode", short_},
);

KVRPC_RECORD(get_faxl_new_ll_arg_v0,
    {"hwfeat", long_},
);

KVRPC_RECORD(get_faxl_new_ll_arg_v1,
    {"hwfeat",       long_},
    {"outselection", int_},
);

KVRPC_UNION(get_faxl_new_ll_arg, "selection",
    {0, "v0", inline_(get_faxl_new_ll_arg_v0)},
    {1, "v1", inline_(get_faxl_new_ll_arg_v1)},
);

KVRPC_RECORD(get_faxl_new_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_faxl_new_arg)},
);

KVRPC_RECORD(get_faxl_new_ll_res,
    {"anz",     long_},
    {"first",   pointer_to(get_faxl_new_ll_res_node)},
    {"errcode", short_},
);

KVRPC_RECORD(del_faxl_new_arg_v0,
    {"lineid", chars(11)},
);

KVRPC_UNION(del_faxl_new_arg, "selection",
    {0, "v0", inline_(del_faxl_new_arg_v0)},
);

KVRPC_RECORD(get_config_ll_arg_v0,
    {"basename",  chars(11)},
    {"pos",       short_},
    {"anz",       short_},
    {"skipempty", bool_},
);

KVRPC_RECORD(get_config_ll_arg_v1,
    {"pos",     chars(11)},
    {"anz",     short_},
    {"protect", bool_},
);

KVRPC_UNION(get_config_ll_arg, "selection",
    {0, "v0", inline_(get_config_ll_arg_v0)},
    {1, "v1", inline_(get_config_ll_arg_v1)},
);

KVRPC_RECORD(get_config_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_config_arg)},
);

KVRPC_RECORD(get_config_ll_res,
    {"anz",     short_},
    {"first",   pointer_to(get_config_ll_res_node)},
    {"errcode", short_},
);

KVRPC_RECORD(del_route_new_arg_v0,
    {"routeid", chars(11)},
);

KVRPC_UNION(del_route_new_arg, "selection",
    {0, "v0", inline_(del_route_new_arg_v0)},
);

constexpr noted_procedure omega_noted[] = {
    //    name                      argument                       result
    {{  7, "o_put_faxg_1",           inline_(faxg_rec),             bool_},
        stated("Writes a line type, named by typid.",
            "o_get_faxg_1 o_get_faxg_ll_1 o_del_faxg_1")},
    {{  8, "o_get_faxg_1",           chars(11),                     inline_(faxg_rec)},
        stated("Reads one line type by its typid.",
            "o_put_faxg_1 o_get_faxg_ll_1")},
    {{  9, "o_get_faxg_ll_1",        nothing,                       inline_(get_faxg_ll_res)},
        stated("Lists the line types.",
            "o_get_faxg_1 o_put_faxg_1")},
    {{ 10, "o_del_faxg_1",           chars(11),                     bool_},
        stated("Deletes a line type.",
            "o_put_faxg_1")},
    {{ 11, "o_put_faxl_1",           inline_(faxl_rec),             bool_},
        stated("Writes a line, named by lineid; older form.",
            "o_put_faxl_new_1 o_get_faxl_1 o_del_faxl_1")},
    {{ 12, "o_get_faxl_1",           chars(11),                     inline_(faxl_rec)},
        stated("Reads one line by its lineid; older form.",
            "o_get_faxl_new_1 o_put_faxl_1 o_get_faxl_ll_1 a_get_faxl_1")},
    {{ 13, "o_get_faxl_ll_1",        long_,                         inline_(get_faxl_ll_res)},
        stated("Lists the lines; older form, with a number where the newer has hwfeat.",
            "o_get_faxl_new_ll_1 o_get_faxl_1 a_get_faxl_ll_1")},
    {{ 14, "o_del_faxl_1",           chars(11),                     bool_},
        stated("Deletes a line; older form.",
            "o_del_faxl_new_1 o_put_faxl_1")},
    {{ 15, "o_put_printer_1",        inline_(printer_rec),          bool_},
        stated("Writes a printer, named by printid.",
            "o_get_printer_1 o_get_printer_ll_1 o_del_printer_1")},
    {{ 16, "o_get_printer_1",        chars(11),                     inline_(printer_rec)},
        stated("Reads one printer by its printid.",
            "o_put_printer_1 o_get_printer_ll_1 a_get_printer_1")},
    {{ 17, "o_get_printer_ll_1",     nothing,                       inline_(get_printer_ll_res)},
        stated("Lists the printers.",
            "o_get_printer_llb_1 o_get_printer_1 a_get_printer_ll_1")},
    {{ 18, "o_del_printer_1",        chars(11),                     bool_},
        stated("Deletes a printer.",
            "o_put_printer_1")},
    {{ 19, "o_put_alpha_1",          inline_(alpha_rec),            bool_},
        stated("Writes an alpha server, named by alphaid.",
            "o_get_alpha_1 o_get_alpha_ll_1 o_del_alpha_1")},
    {{ 20, "o_get_alpha_1",          chars(36),                     inline_(alpha_rec)},
        stated("Reads one alpha server by its alphaid.",
            "o_put_alpha_1 o_get_alpha_ll_1")},
    {{ 21, "o_get_alpha_ll_1",       nothing,                       inline_(get_alpha_ll_res)},
        stated("Lists the alpha servers.",
            "o_get_alpha_1 o_put_alpha_1")},
    {{ 22, "o_del_alpha_1",          chars(36),                     bool_},
        stated("Deletes an alpha server.",
            "o_put_alpha_1")},
    {{ 23, "o_put_theta_1",          inline_(theta_rec),            bool_},
        stated("Writes a theta server, named by thetaid.",
            "o_get_theta_1 o_get_theta_ll_1 o_del_theta_1")},
    {{ 24, "o_get_theta_1",          chars(36),                     inline_(theta_rec)},
        stated("Reads one theta server by its thetaid.",
            "o_put_theta_1 o_get_theta_ll_1")},
    {{ 25, "o_get_theta_ll_1",       nothing,                       inline_(get_theta_ll_res)},
        stated("Lists the theta servers.",
            "o_get_theta_1 o_put_theta_1")},
    {{ 26, "o_del_theta_1",          chars(36),                     bool_},
        stated("Deletes a theta server.",
            "o_put_theta_1")},
    {{ 27, "o_put_pi_1",             inline_(pi_rec),               bool_},
        stated("Writes a pi server, named by piid.",
            "o_get_pi_1 o_get_pi_ll_1 o_del_pi_1")},
    {{ 28, "o_get_pi_1",             chars(36),                     inline_(pi_rec)},
        stated("Reads one pi server by its piid.",
            "o_put_pi_1 o_get_pi_ll_1")},
    {{ 29, "o_get_pi_ll_1",          nothing,                       inline_(get_pi_ll_res)},
        stated("Lists the pi servers.",
            "o_get_pi_1 o_put_pi_1")},
    {{ 30, "o_del_pi_1",             chars(36),                     bool_},
        stated("Deletes a pi server.",
            "o_put_pi_1")},
    {{ 38, "o_put_route_1",          inline_(route_rec),            bool_},
        stated("Writes a route, named by routeid; older form.",
            "o_put_route_new_1 o_get_route_1 o_del_route_1")},
    {{ 39, "o_get_route_1",          chars(11),                     inline_(route_rec)},
        stated("Reads one route by its routeid; older form.",
            "o_get_route_new_1 o_put_route_1 o_get_route_ll_1")},
    {{ 40, "o_get_route_ll_1",       nothing,                       inline_(get_route_ll_res)},
        stated("Lists the routes; older form.",
            "o_get_route_new_ll_1 o_get_route_1")},
    {{ 41, "o_del_route_1",          chars(11),                     bool_},
        stated("Deletes a route; older form.",
            "o_del_route_new_1 o_put_route_1")},
    {{ 42, "o_apply_route_1",        inline_(apply_route_arg),      inline_(apply_route_res)},
        stated("Gives the alphaid, userid and groupid of the route for a lineid and absender.",
            "o_apply_route_new_1 o_get_route_ll_1 a_apply_route_1")},
    {{ 48, "o_put_config_1",         inline_(put_config_arg),       bool_},
        stated("Writes a configuration entry: name, contents and protect.",
            "o_get_config_1 o_get_config_ll_1 o_del_config_1 a_get_config_1")},
    {{ 49, "o_get_config_1",         chars(11),                     chars(81)},
        stated("Reads a configuration entry by its name.",
            "o_put_config_1 o_get_config_ll_1 a_get_config_1")},
    {{ 50, "o_del_config_1",         chars(11),                     bool_},
        stated("Deletes a configuration entry by its name.",
            "o_put_config_1")},
    {{ 51, "o_get_configdata_1",     nothing,                       inline_(get_configdata_res)},
        from_name("Reads the system's limits and counts of users, logins and lines; older form.",
            "o_get_configdata_new_1 a_get_configdata_1")},
    {{ 55, "o_legalhost_1",          chars(36),                     bool_},
        from_name("Checks whether a host is legal.",
            "o_get_alpha_ll_1")},
    {{ 71, "o_get_compat_1",         nothing,                       inline_(get_compat_res)},
        from_name("Reads a compatibility range as two numbers, low and high.",
            "a_get_compat_1")},
    {{ 87, "o_get_printer_llb_1",    inline_(get_printer_llb_arg),  inline_(get_printer_ll_res)},
        stated("Lists the printers in blocks (pos, anz).",
            "o_get_printer_ll_1 o_get_printer_1 a_get_printer_llb_1")},
    {{ 91, "o_put_route_new_1",      inline_(put_route_new_arg),    short_},
        stated("Writes a route in the newer form, with pollalphaid and pollfaxid.",
            "o_put_route_1 o_get_route_new_1 o_del_route_new_1")},
    {{ 92, "o_get_route_new_1",      inline_(get_route_new_arg),    inline_(get_route_new_res)},
        stated("Reads one route by its routeid in the newer form, with errcode.",
            "o_get_route_1 o_put_route_new_1 o_get_route_new_ll_1")},
    {{ 93, "o_get_route_new_ll_1",   inline_(get_route_new_ll_arg), inline_(get_route_new_ll_res)},
        stated("Lists the routes in the newer form, in blocks (pos, anz).",
            "o_get_route_ll_1 o_get_route_new_1 a_get_route_new_ll_1")},
    {{ 94, "o_apply_route_new_1",    inline_(apply_route_new_arg),  inline_(apply_route_new_res)},
        stated("Newer form of o_apply_route_1: adds pollalphaid, pollfaxid and errcode.",
            "o_apply_route_1 o_get_route_new_ll_1 a_apply_route_new_1")},
    {{101, "o_write_log_1",          bool_,                         short_},
        unknown("A log command; what its flag does is not known.",
            "a_write_log_1 s_write_log_1 t_write_log_1")},
    {{102, "o_put_faxl_new_1",       inline_(put_faxl_new_arg),     short_},
        stated("Writes a line in the newer form, named by lineid.",
            "o_put_faxl_1 o_get_faxl_new_1 o_del_faxl_new_1")},
    {{103, "o_get_faxl_new_1",       inline_(get_faxl_new_arg),     inline_(get_faxl_new_res)},
        stated("Reads one line by its lineid in the newer form, with errcode.",
            "o_get_faxl_1 o_put_faxl_new_1 o_get_faxl_new_ll_1 a_get_faxl_new_1")},
    {{104, "o_get_faxl_new_ll_1",    inline_(get_faxl_new_ll_arg),  inline_(get_faxl_new_ll_res)},
        stated("Lists the lines in the newer form; takes hwfeat.",
            "o_get_faxl_ll_1 o_get_faxl_new_1")},
    {{105, "o_del_faxl_new_1",       inline_(del_faxl_new_arg),     short_},
        stated("Deletes a line by its lineid; newer form, with an error code.",
            "o_del_faxl_1 o_put_faxl_new_1")},
    {{106, "o_get_config_ll_1",      inline_(get_config_ll_arg),    inline_(get_config_ll_res)},
        stated("Lists configuration entries: by basename, or starting at the name pos.",
            "o_get_config_1 o_put_config_1")},
    {{110, "o_del_route_new_1",      inline_(del_route_new_arg),    short_},
        stated("Deletes a route by its routeid; newer form, with an error code.",
            "o_del_route_1 o_put_route_new_1")},
    {{113, "o_cha_licence_1",        unspecified,                   unspecified},
        stated("Hands a licence key to the server; its records are not described.")},
    {{114, "o_get_configdata_new_1", long_,                         inline_(get_configdata_new_res)},
        from_name("Reads the system's limits and counts, with those of gateways and polling.",
            "o_get_configdata_1 a_get_configdata_new_1")},
    {{115, "o_sync_1",               nothing,                       long_},
        from_name("Plain command to synchronise; returns a number.",
            "a_sync_1")},
};

// clang-format on

constexpr auto omega_rows = without_notes(omega_noted);
constexpr procedure_list omega_lines = list_of<omega_rows>();
constexpr noted_list omega_lines_notes = notes_of(omega_noted);

}  // namespace kvrpc::schema
