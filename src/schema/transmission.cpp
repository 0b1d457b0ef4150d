// Page transfer by handle (sigma), the two procedures of nue, and theta's line reservations, scan
// requests and flags.
#include "schema/families.h"
#include "schema/shared_records.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

constexpr structure s_get_kzg_res_data{"s_get_kzg_res_data", {
    {"next", list_next},
    {"dat",  schars(101)},
}};

// `first` and `next` are plain numbers: the list hangs on `data`.
constexpr structure s_get_kzg_res{"s_get_kzg_res", {
    {"errcode", short_},
    {"first",   long_},
    {"next",    long_},
    {"data",    pointer_to(s_get_kzg_res_data)},
}};

constexpr structure openpage_old_arg{"openpage_old_arg", {
    {"faxid",     long_},
    {"topf",      short_},
    {"page",      short_},
    {"pct",       short_},
    {"mixed_pct", short_},
}};

constexpr structure openpage_old_res{"openpage_old_res", {
    {"errcode", short_},
    {"handle",  long_},
    {"pages",   short_},
    {"pct",     short_},
}};

constexpr structure getblock_old_arg{"getblock_old_arg", {
    {"handle", long_},
    {"offset", long_},
    {"len",    int_},
    {"faxid",  long_},
}};

constexpr structure getblock_old_res{"getblock_old_res", {
    {"errcode", short_},
    {"data",    blob},
}};

constexpr structure s_get_inf_arg{"s_get_inf_arg", {
    {"topf",  short_},
    {"faxid", long_},
}};

constexpr structure s_get_inf_res{"s_get_inf_res", {
    {"err",    short_},
    {"laenge", long_},
    {"data",   vector_of(long_, 1000)},
}};

constexpr structure open_page_arg{"open_page_arg", {
    {"faxid", long_},
    {"topf",  short_},
    {"page",  short_},
    {"code",  short_},
}};

// A client keeps it and returns it untouched.
constexpr structure handle{"handle", {
    {"long1", long_},
    {"long2", long_},
    {"long3", long_},
}};

constexpr structure open_page_res{"open_page_res", {
    {"err",    short_},
    {"handle", inline_(handle)},
}};

constexpr structure get_block_arg{"get_block_arg", {
    {"handle", inline_(handle)},
    {"len",    long_},
}};

constexpr structure get_block_res{"get_block_res", {
    {"err",  short_},
    {"data", blob},
}};

// `first` and `next` are plain numbers: the list hangs on `data`.
constexpr structure t_get_kzg_res{"t_get_kzg_res", {
    {"first", long_},
    {"next",  long_},
    {"data",  pointer_to(get_kzg_res_data)},
}};

constexpr structure get_frei_res{"get_frei_res", {
    {"anz",   long_},
    {"first", pointer_to(user_ll)},
}};

constexpr structure reserve_arg{"reserve_arg", {
    {"lineid", chars(11)},
    {"hwfeat", long_},
}};

constexpr structure put_trstat_arg{"put_trstat_arg", {
    {"lineid", chars(11)},
    {"hwfeat", u_long_},
}};

constexpr structure get_scan_res{"get_scan_res", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"res",     long_},
    {"comment", chars(31)},
}};

constexpr structure t_put_scan_arg{"t_put_scan_arg", {
    {"lineid",  chars(11)},
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"res",     long_},
    {"comment", chars(31)},
}};

constexpr structure flag_rec{"flag_rec", {
    {"group",  chars(11)},
    {"id",     long_},
    {"termin", long_},
    {"msg",    chars(81)},
}};

constexpr structure get_flag_ll_res_node{"get_flag_ll_res_node", {
    {"next", list_next},
    {"data", inline_(flag_rec)},
}};

constexpr structure get_flag_ll_res{"get_flag_ll_res", {
    {"first", pointer_to(get_flag_ll_res_node)},
    {"anz",   long_},
}};

constexpr structure get_flag_arg{"get_flag_arg", {
    {"group", chars(11)},
    {"id",    long_},
}};

constexpr procedure nue_rows[] = {
    //  name          argument result
    {1, "n_exit_1",   nothing, nothing},
    {2, "n_get_nr_1", nothing, long_},
};

constexpr procedure sigma_rows[] = {
    //   name                 argument                   result
    { 1, "s_exit_1",          nothing,                   short_},
    { 2, "s_get_kzg_1",       long_,                     inline_(s_get_kzg_res)},
    { 6, "s_write_log_1",     bool_,                     short_},
    { 7, "s_get_inf_1",       inline_(s_get_inf_arg),    inline_(s_get_inf_res)},
    { 8, "s_open_page_1",     inline_(open_page_arg),    inline_(open_page_res)},
    { 9, "s_close_page_1",    inline_(handle),           short_},
    {10, "s_get_block_1",     inline_(get_block_arg),    inline_(get_block_res)},
    // The earlier forms are compared last.
    { 3, "s_openpage_old_1",  inline_(openpage_old_arg), inline_(openpage_old_res)},
    { 4, "s_closepage_old_1", long_,                     short_},
    { 5, "s_getblock_old_1",  inline_(getblock_old_arg), inline_(getblock_old_res)},
};

constexpr procedure theta_rows[] = {
    //   name               argument                 result
    { 1, "t_exit_1",        nothing,                 nothing},
    { 2, "t_get_kzg_1",     long_,                   inline_(t_get_kzg_res)},
    { 3, "t_get_frei_1",    long_,                   inline_(get_frei_res)},
    { 4, "t_reserve_1",     inline_(reserve_arg),    bool_},
    { 5, "t_put_trstat_1",  inline_(put_trstat_arg), bool_},
    { 6, "t_get_trstat_1",  chars(11),               u_long_},
    { 7, "t_get_scan_1",    chars(11),               inline_(get_scan_res)},
    { 8, "t_put_scan_1",    inline_(t_put_scan_arg), bool_},
    { 9, "t_shutdown_1",    nothing,                 nothing},
    {10, "t_put_flag_1",    inline_(flag_rec),       nothing},
    {11, "t_get_flag_ll_1", chars(11),               inline_(get_flag_ll_res)},
    {12, "t_del_flag_1",    inline_(flag_rec),       bool_},
    {13, "t_get_flag_1",    inline_(get_flag_arg),   inline_(flag_rec)},
    {14, "t_write_log_1",   bool_,                   short_},
};

// clang-format on

constexpr procedure_list nue_procedures = list_of(nue_rows);
constexpr procedure_list sigma_pages = list_of(sigma_rows);
constexpr procedure_list theta_transmission = list_of(theta_rows);

}  // namespace kvrpc::schema
