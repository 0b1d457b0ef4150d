// Page transfer by handle (sigma), the two procedures of nue, and theta's line reservations, scan
// requests and flags.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_documents.h"
#include "schema/shared_users.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(s_get_kzg_res_data,
    {"next", list_next},
    {"dat",  schars(101)},
);

// `first` and `next` are plain numbers: the list hangs on `data`.
KVRPC_RECORD(s_get_kzg_res,
    {"errcode", short_},
    {"first",   long_},
    {"next",    long_},
    {"data",    pointer_to(s_get_kzg_res_data)},
);

KVRPC_RECORD(openpage_old_arg,
    {"faxid",     long_},
    {"topf",      short_},
    {"page",      short_},
    {"pct",       short_},
    {"mixed_pct", short_},
);

KVRPC_RECORD(openpage_old_res,
    {"errcode", short_},
    {"handle",  long_},
    {"pages",   short_},
    {"pct",     short_},
);

KVRPC_RECORD(getblock_old_arg,
    {"handle", long_},
    {"offset", long_},
    {"len",    int_},
    {"faxid",  long_},
);

KVRPC_RECORD(getblock_old_res,
    {"errcode", short_},
    {"data",    blob},
);

KVRPC_RECORD(s_get_inf_arg,
    {"topf",  short_},
    {"faxid", long_},
);

KVRPC_RECORD(s_get_inf_res,
    {"err",    short_},
    {"laenge", long_},
    {"data",   vector_of(long_, 1000)},
);

KVRPC_RECORD(open_page_arg,
    {"faxid", long_},
    {"topf",  short_},
    {"page",  short_},
    {"code",  short_},
);

// A client keeps it and returns it untouched.
KVRPC_RECORD(handle,
    {"long1", long_},
    {"long2", long_},
    {"long3", long_},
);

KVRPC_RECORD(open_page_res,
    {"err",    short_},
    {"handle", inline_(handle)},
);

KVRPC_RECORD(get_block_arg,
    {"handle", inline_(handle)},
    {"len",    long_},
);

KVRPC_RECORD(get_block_res,
    {"err",  short_},
    {"data", blob},
);

// `first` and `next` are plain numbers: the list hangs on `data`.
KVRPC_RECORD(t_get_kzg_res,
    {"first", long_},
    {"next",  long_},
    {"data",  pointer_to(get_kzg_res_data)},
);

KVRPC_RECORD(get_frei_res,
    {"anz",   long_},
    {"first", pointer_to(user_ll)},
);

KVRPC_RECORD(reserve_arg,
    {"lineid", chars(11)},
    {"hwfeat", long_},
);

KVRPC_RECORD(put_trstat_arg,
    {"lineid", chars(11)},
    {"hwfeat", u_long_},
);

KVRPC_RECORD(get_scan_res,
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"res",     long_},
    {"comment", chars(31)},
);

KVRPC_RECORD(t_put_scan_arg,
    {"lineid",  chars(11)},
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"res",     long_},
    {"comment", chars(31)},
);

KVRPC_RECORD(flag_rec,
    {"group",  chars(11)},
    {"id",     long_},
    {"termin", long_},
    {"msg",    chars(81)},
);

KVRPC_RECORD(get_flag_ll_res_node,
    {"next", list_next},
    {"data", inline_(flag_rec)},
);

KVRPC_RECORD(get_flag_ll_res,
    {"first", pointer_to(get_flag_ll_res_node)},
    {"anz",   long_},
);

KVRPC_RECORD(get_flag_arg,
    {"group", chars(11)},
    {"id",    long_},
);

constexpr noted_procedure nue_noted[] = {
    //  name          argument result
    {{1, "n_exit_1",   nothing, nothing},
        from_name("Exit command of the server nue; takes and returns nothing.")},
    {{2, "n_get_nr_1", nothing, long_},
        from_name("Returns a number.",
            "a_get_nue_nr_1")},
};

constexpr noted_procedure sigma_noted[] = {
    //   name                 argument                   result
    {{ 1, "s_exit_1",          nothing,                   short_},
        from_name("Exit command of the server sigma; returns a number.")},
    {{ 2, "s_get_kzg_1",       long_,                     inline_(s_get_kzg_res)},
        unknown("The meaning of kzg is not known; takes a number, returns a list of texts.",
            "a_get_kzg_1 o_get_kzg_1 t_get_kzg_1")},
    {{ 6, "s_write_log_1",     bool_,                     short_},
        unknown("A log command; what its flag does is not known.",
            "a_write_log_1 o_write_log_1 t_write_log_1")},
    {{ 7, "s_get_inf_1",       inline_(s_get_inf_arg),    inline_(s_get_inf_res)},
        from_name("Reads a document's inf data: a length and up to 1000 numbers.",
            "a_get_inf_1")},
    {{ 8, "s_open_page_1",     inline_(open_page_arg),    inline_(open_page_res)},
        stated("Opens a page of a document and gives a handle for it.",
            "s_get_block_1 s_close_page_1 s_openpage_old_1")},
    {{ 9, "s_close_page_1",    inline_(handle),           short_},
        stated("Ends the handle of an open page.",
            "s_open_page_1 s_closepage_old_1")},
    {{10, "s_get_block_1",     inline_(get_block_arg),    inline_(get_block_res)},
        stated("Reads a block of an open page by its handle and a len.",
            "s_open_page_1 s_close_page_1 s_getblock_old_1")},
    // The earlier forms are compared last.
    {{ 3, "s_openpage_old_1",  inline_(openpage_old_arg), inline_(openpage_old_res)},
        stated("Opens a page for reading, with a number as its handle; earlier form.",
            "s_open_page_1 s_getblock_old_1 s_closepage_old_1")},
    {{ 4, "s_closepage_old_1", long_,                     short_},
        stated("Closes a page by its handle, a number; earlier form.",
            "s_close_page_1 s_openpage_old_1")},
    {{ 5, "s_getblock_old_1",  inline_(getblock_old_arg), inline_(getblock_old_res)},
        stated("Reads a block of an open page, starting at offset; earlier form.",
            "s_get_block_1 s_openpage_old_1")},
};

constexpr noted_procedure theta_noted[] = {
    //   name               argument                 result
    {{ 1, "t_exit_1",        nothing,                 nothing},
        from_name("Exit command of the server theta; takes and returns nothing.",
            "t_shutdown_1")},
    {{ 2, "t_get_kzg_1",     long_,                   inline_(t_get_kzg_res)},
        unknown("The meaning of kzg is not known; takes a number, returns a list of texts.",
            "a_get_kzg_1 o_get_kzg_1 s_get_kzg_1")},
    {{ 3, "t_get_frei_1",    long_,                   inline_(get_frei_res)},
        stated("Lists the free lines.",
            "t_reserve_1 a_get_frei_ll_1")},
    {{ 4, "t_reserve_1",     inline_(reserve_arg),    bool_},
        stated("Reserves a line, named by lineid, with hwfeat.",
            "t_get_frei_1 t_put_trstat_1 t_get_trstat_1")},
    {{ 5, "t_put_trstat_1",  inline_(put_trstat_arg), bool_},
        stated("Reports the state of a line; takes its lineid and hwfeat.",
            "t_get_trstat_1 t_reserve_1")},
    {{ 6, "t_get_trstat_1",  chars(11),               u_long_},
        from_name("Reads the state of a line by its lineid.",
            "t_put_trstat_1 t_reserve_1")},
    {{ 7, "t_get_scan_1",    chars(11),               inline_(get_scan_res)},
        stated("Gets the scan request of a line.",
            "t_put_scan_1 a_put_scan_1")},
    {{ 8, "t_put_scan_1",    inline_(t_put_scan_arg), bool_},
        stated("Passes a scan request for a line.",
            "t_get_scan_1 a_put_scan_1")},
    {{ 9, "t_shutdown_1",    nothing,                 nothing},
        from_name("Shutdown command of the server theta; takes and returns nothing.",
            "t_exit_1")},
    {{10, "t_put_flag_1",    inline_(flag_rec),       nothing},
        stated("Writes an entry (flag), named by group and id, with termin and msg.",
            "t_get_flag_1 t_get_flag_ll_1 t_del_flag_1")},
    {{11, "t_get_flag_ll_1", chars(11),               inline_(get_flag_ll_res)},
        stated("Lists the entries (flags) of a group.",
            "t_get_flag_1 t_put_flag_1")},
    {{12, "t_del_flag_1",    inline_(flag_rec),       bool_},
        stated("Deletes an entry (flag), named by group and id.",
            "t_put_flag_1")},
    {{13, "t_get_flag_1",    inline_(get_flag_arg),   inline_(flag_rec)},
        stated("Reads one entry (flag) by group and id.",
            "t_put_flag_1 t_get_flag_ll_1")},
    {{14, "t_write_log_1",   bool_,                   short_},
        unknown("A log command; what its flag does is not known.",
            "a_write_log_1 o_write_log_1 s_write_log_1")},
};

// clang-format on

constexpr auto nue_rows = without_notes(nue_noted);
constexpr procedure_list nue_procedures = list_of<nue_rows>();
constexpr noted_list nue_procedures_notes = notes_of(nue_noted);
constexpr auto sigma_rows = without_notes(sigma_noted);
constexpr procedure_list sigma_pages = list_of<sigma_rows>();
constexpr noted_list sigma_pages_notes = notes_of(sigma_noted);
constexpr auto theta_rows = without_notes(theta_noted);
constexpr procedure_list theta_transmission = list_of<theta_rows>();
constexpr noted_list theta_transmission_notes = notes_of(theta_noted);

}  // namespace kvrpc::schema
