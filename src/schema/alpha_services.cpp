// Lines, printers, routes and configuration as a client of alpha reads them, time, and a few plain
// commands. What writes configuration, lines, printers and routes is omega's.
#include "schema/families.h"
#include "schema/shared_records.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// The item of a vector.
constexpr wire_type chars_81 = chars(81);

// `first` and `next` are plain numbers: the list hangs on `data`.
constexpr structure get_kzg_res{"get_kzg_res", {
    {"first", long_},
    {"next",  long_},
    {"data",  pointer_to(get_kzg_res_data)},
}};

constexpr structure get_frei_ll_res{"get_frei_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_frei_ll_res_node)},
}};

constexpr structure tra_str_arg{"tra_str_arg", {
    {"language",   chars(81)},
    {"meta_zeile", text},
}};

constexpr structure get_config_arg{"get_config_arg", {
    {"name",    chars(11)},
    {"rq_type", short_},
}};

constexpr structure get_tzenv_res{"get_tzenv_res", {
    {"timezone", long_},
    {"daylight", int_},
    {"tzname",   vector_of(chars_81, 3)},
}};

// A list that is its own head: it travels inline, without a flag before it.
constexpr structure gamma_arg{"gamma_arg", {
    {"next",    list_next},
    {"a_g_dok", chars(21)},
}};

constexpr procedure alpha_rows[] = {
    //     name                      argument                       result
    {1000, "a_gamma_1",              inline_(gamma_arg),            bool_},
    {  39, "a_get_kzg_1",            long_,                         inline_(get_kzg_res)},
    {  43, "a_get_printer_ll_1",     nothing,                       inline_(get_printer_ll_res)},
    {  44, "a_get_faxl_ll_1",        long_,                         inline_(get_faxl_ll_res)},
    {  45, "a_get_faxl_1",           chars(11),                     inline_(faxl_rec)},
    {  46, "a_get_printer_1",        chars(11),                     inline_(printer_rec)},
    {  47, "a_get_frei_ll_1",        long_,                         inline_(get_frei_ll_res)},
    {  56, "a_get_configdata_1",     bool_,                         inline_(get_configdata_res)},
    {  57, "a_str2zeit_1",           chars(21),                     long_},
    {  73, "a_tra_str_1",            inline_(tra_str_arg),          text},
    {  74, "a_get_config_1",         inline_(get_config_arg),       chars(81)},
    {  89, "a_get_tzenv_1",          nothing,                       inline_(get_tzenv_res)},
    {  94, "a_reload_dest_1",        nothing,                       nothing},
    { 103, "a_get_printer_llb_1",    inline_(get_printer_llb_arg),  inline_(get_printer_ll_res)},
    { 109, "a_apply_route_1",        inline_(apply_route_arg),      inline_(apply_route_res)},
    { 117, "a_apply_route_new_1",    inline_(apply_route_new_arg),  inline_(apply_route_new_res)},
    { 124, "a_write_log_1",          bool_,                         short_},
    { 129, "a_reload_srvconf_1",     nothing,                       nothing},
    { 130, "a_get_faxl_new_1",       inline_(get_faxl_new_arg),     inline_(get_faxl_new_res)},
    { 131, "a_get_route_new_ll_1",   inline_(get_route_new_ll_arg), inline_(get_route_new_ll_res)},
    { 147, "a_get_configdata_new_1", bool_,                         inline_(get_configdata_new_res)},
    { 148, "a_sync_1",               nothing,                       long_},
    { 149, "a_clean_cache_1",        nothing,                       nothing},
    {1001, "a_a_log_1",              text_of(80),                   bool_},
    {1002, "a_get_jetzt_1",          nothing,                       long_},
    {1003, "a_zeitstring_1",         long_,                         chars(21)},
};

// clang-format on

constexpr procedure_list alpha_services = list_of(alpha_rows);

}  // namespace kvrpc::schema
