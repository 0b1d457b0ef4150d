// Lines, printers, routes and configuration as a client of alpha reads them, time, and a few plain
// commands. What writes configuration, lines, printers and routes is omega's.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_documents.h"
#include "schema/shared_lines.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// The element of a vector.
constexpr wire_type chars_81 = chars(81);

// `first` and `next` are plain numbers: the list hangs on `data`.
KVRPC_RECORD(get_kzg_res,
    {"first", long_},
    {"next",  long_},
    {"data",  pointer_to(get_kzg_res_data)},
);

KVRPC_RECORD(get_frei_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_frei_ll_res_node)},
);

KVRPC_RECORD(tra_str_arg,
    {"language",   chars(81)},
    {"meta_zeile", text},
);

KVRPC_RECORD(get_config_arg,
    {"name",    chars(11)},
    {"rq_type", short_},
);

KVRPC_RECORD(get_tzenv_res,
    {"timezone", long_},
    {"daylight", int_},
    {"tzname",   vector_of(chars_81, 3)},
);

// A list that is its own head: it travels inline, without a flag before it.
KVRPC_RECORD(gamma_arg,
    {"next",    list_next},
    {"a_g_dok", chars(21)},
);

constexpr noted_procedure alpha_noted[] = {
    //     name                      argument                       result
    {{1000, "a_gamma_1",              inline_(gamma_arg),            bool_},
        unknown("Takes a list of texts under a_g_dok; what it does is not known.")},
    {{  39, "a_get_kzg_1",            long_,                         inline_(get_kzg_res)},
        unknown("The meaning of kzg is not known; takes a number, returns a list of texts.",
            "o_get_kzg_1 s_get_kzg_1 t_get_kzg_1")},
    {{  43, "a_get_printer_ll_1",     nothing,                       inline_(get_printer_ll_res)},
        stated("Lists the printers.",
            "a_get_printer_llb_1 a_get_printer_1 o_get_printer_ll_1 o_put_printer_1")},
    {{  44, "a_get_faxl_ll_1",        long_,                         inline_(get_faxl_ll_res)},
        stated("Lists the lines; the meaning of its number is not known.",
            "a_get_faxl_1 a_get_faxl_new_1 a_get_frei_ll_1 o_get_faxl_ll_1")},
    {{  45, "a_get_faxl_1",           chars(11),                     inline_(faxl_rec)},
        stated("Reads one line by its lineid; older form.",
            "a_get_faxl_new_1 a_get_faxl_ll_1 o_put_faxl_1 o_get_faxl_1")},
    {{  46, "a_get_printer_1",        chars(11),                     inline_(printer_rec)},
        stated("Reads one printer by its printid.",
            "a_get_printer_ll_1 a_get_printer_llb_1 o_put_printer_1 o_get_printer_1")},
    {{  47, "a_get_frei_ll_1",        long_,                         inline_(get_frei_ll_res)},
        from_name("Lists the free lines with their records.",
            "t_get_frei_1 a_get_faxl_ll_1")},
    {{  56, "a_get_configdata_1",     bool_,                         inline_(get_configdata_res)},
        from_name("Reads the system's limits and counts of users, logins and lines; older form.",
            "a_get_configdata_new_1 o_get_configdata_1")},
    {{  57, "a_str2zeit_1",           chars(21),                     long_},
        stated("Turns a text into a time.",
            "a_zeitstring_1 a_get_jetzt_1")},
    {{  73, "a_tra_str_1",            inline_(tra_str_arg),          text},
        stated("Converts a text (meta_zeile) for a language.",
            "a_get_logl_1")},
    {{  74, "a_get_config_1",         inline_(get_config_arg),       chars(81)},
        stated("Reads a configuration entry by its name.",
            "o_get_config_1 o_put_config_1 o_get_config_ll_1")},
    {{  89, "a_get_tzenv_1",          nothing,                       inline_(get_tzenv_res)},
        stated("Reads the time zone.",
            "a_get_jetzt_1")},
    {{  94, "a_reload_dest_1",        nothing,                       nothing},
        from_name("Plain command to reload dest; takes and returns nothing.",
            "a_reload_srvconf_1")},
    {{ 103, "a_get_printer_llb_1",    inline_(get_printer_llb_arg),  inline_(get_printer_ll_res)},
        stated("Lists the printers in blocks (pos, anz).",
            "a_get_printer_ll_1 a_get_printer_1 o_get_printer_llb_1")},
    {{ 109, "a_apply_route_1",        inline_(apply_route_arg),      inline_(apply_route_res)},
        stated("Gives the alphaid, userid and groupid of the route for a lineid and absender.",
            "a_apply_route_new_1 a_get_route_new_ll_1 o_apply_route_1")},
    {{ 117, "a_apply_route_new_1",    inline_(apply_route_new_arg),  inline_(apply_route_new_res)},
        stated("Newer form of a_apply_route_1: adds pollalphaid, pollfaxid and errcode.",
            "a_apply_route_1 a_get_route_new_ll_1 o_apply_route_new_1")},
    {{ 124, "a_write_log_1",          bool_,                         short_},
        unknown("A log command; what its flag does is not known.",
            "o_write_log_1 s_write_log_1 t_write_log_1 a_a_log_1")},
    {{ 129, "a_reload_srvconf_1",     nothing,                       nothing},
        from_name("Plain command to reload srvconf; takes and returns nothing.",
            "a_reload_dest_1 a_get_config_1")},
    {{ 130, "a_get_faxl_new_1",       inline_(get_faxl_new_arg),     inline_(get_faxl_new_res)},
        stated("Reads one line by its lineid in the newer form, with errcode.",
            "a_get_faxl_1 a_get_faxl_ll_1 o_put_faxl_new_1 o_get_faxl_new_1")},
    {{ 131, "a_get_route_new_ll_1",   inline_(get_route_new_ll_arg), inline_(get_route_new_ll_res)},
        stated("Lists the routes in the newer form, in blocks (pos, anz).",
            "a_apply_route_new_1 o_put_route_new_1 o_get_route_new_ll_1")},
    {{ 147, "a_get_configdata_new_1", bool_,                         inline_(get_configdata_new_res)},
        from_name("Reads the system's limits and counts, with those of gateways and polling.",
            "a_get_configdata_1 o_get_configdata_new_1")},
    {{ 148, "a_sync_1",               nothing,                       long_},
        from_name("Plain command to synchronise; returns a number.",
            "o_sync_1")},
    {{ 149, "a_clean_cache_1",        nothing,                       nothing},
        from_name("Plain command to clean the cache; takes and returns nothing.",
            "a_sync_1")},
    {{1001, "a_a_log_1",              text_of(80),                   bool_},
        from_name("Writes a text to a log.",
            "a_write_log_1 l_log_1")},
    {{1002, "a_get_jetzt_1",          nothing,                       long_},
        stated("Reads the time.",
            "a_zeitstring_1 a_get_tzenv_1")},
    {{1003, "a_zeitstring_1",         long_,                         chars(21)},
        stated("Turns a time into a text.",
            "a_str2zeit_1 a_get_jetzt_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_services = list_of<alpha_rows>();
constexpr noted_list alpha_services_notes = notes_of(alpha_noted);

}  // namespace kvrpc::schema
