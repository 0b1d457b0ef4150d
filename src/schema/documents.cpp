// Documents, pages and mailboxes: a user's documents, addressed by `userid`, `topf` and `faxid`,
// their pages, logs and signatures, whole or block by block (`pos`, `lng`), and the message board.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_documents.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(put_page_arg,
    {"userid",   chars(11)},
    {"faxid",    long_},
    {"seitennr", short_},
    {"typ",      short_},
    {"data",     text},
);

KVRPC_RECORD(cp_dok_arg,
    {"userid",      chars(11)},
    {"sourcetopf",  short_},
    {"sourcefaxid", long_},
    {"destfaxid",   long_},
);

KVRPC_RECORD(del_dok_arg,
    {"userid",   chars(11)},
    {"topf",     short_},
    {"faxid",    long_},
    {"delentry", bool_},
);

KVRPC_RECORD(get_e_arg,
    {"loginid",   long_},
    {"selection", short_},
);

KVRPC_RECORD(get_e_res_node,
    {"data", inline_(get_e_rec_res)},
    {"next", list_next},
);

KVRPC_RECORD(get_e_res,
    {"anz",   long_},
    {"first", pointer_to(get_e_res_node)},
);

KVRPC_RECORD(get_p_arg,
    {"loginid",   long_},
    {"selection", short_},
);

KVRPC_RECORD(get_p_rec_res,
    {"faxid",   long_},
    {"userid",  chars(11)},
    {"public_", bool_},
    {"status",  long_},
    {"seiten",  short_},
    {"comment", chars(31)},
    {"crezeit", long_},
);

KVRPC_RECORD(get_p_res_node,
    {"data", inline_(get_p_rec_res)},
    {"next", list_next},
);

KVRPC_RECORD(get_p_res,
    {"anz",   long_},
    {"first", pointer_to(get_p_res_node)},
);

KVRPC_RECORD(get_s_arg,
    {"loginid",   long_},
    {"selection", short_},
);

KVRPC_RECORD(get_s_res_node,
    {"data", inline_(s_rec)},
    {"next", list_next},
);

KVRPC_RECORD(get_s_res,
    {"anz",   long_},
    {"first", pointer_to(get_s_res_node)},
);

KVRPC_RECORD(bif_arg,
    {"userid", chars(11)},
    {"topf",   short_},
);

KVRPC_RECORD(get_page_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
    {"page",   short_},
    {"code",   short_},
);

KVRPC_RECORD(del_page_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
    {"page",   short_},
);

KVRPC_RECORD(cp_page_arg,
    {"userid",      chars(11)},
    {"sourcetopf",  short_},
    {"sourcefaxid", long_},
    {"sourcepage",  short_},
    {"destfaxid",   long_},
    {"destpage",    short_},
);

KVRPC_RECORD(get_p_rec_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
);

KVRPC_RECORD(get_inf_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
);

KVRPC_RECORD(get_inf_res,
    {"laenge", long_},
    {"data",   vector_of(long_, 1000)},
);

KVRPC_RECORD(get_log_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
);

KVRPC_RECORD(put_log_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
    {"zeile",  text},
);

KVRPC_RECORD(put_comment_arg,
    {"userid",  chars(11)},
    {"topf",    short_},
    {"faxid",   long_},
    {"comment", chars(31)},
);

KVRPC_RECORD(put_public_arg,
    {"userid",  chars(11)},
    {"faxid",   long_},
    {"public_", bool_},
);

KVRPC_RECORD(ins_page_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
    {"page",   short_},
);

KVRPC_RECORD(put_sig_arg,
    {"userid", chars(11)},
    {"data",   text},
);

KVRPC_RECORD(put_bif_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
    {"bif",    bool_},
);

KVRPC_RECORD(put_scan_arg,
    {"lineid",  chars(11)},
    {"userid",  chars(11)},
    {"res",     long_},
    {"comment", chars(31)},
);

KVRPC_RECORD(forward_arg,
    {"userid",     chars(11)},
    {"sourcetopf", short_},
    {"faxid",      long_},
    {"desth",      chars(36)},
    {"destu",      chars(11)},
    {"groupid",    chars(11)},
    {"desttopf",   short_},
);

KVRPC_RECORD(print_dok_arg,
    {"userid",     chars(11)},
    {"sourcetopf", short_},
    {"faxid",      long_},
    {"firstpage",  short_},
    {"lastpage",   short_},
    {"printid",    chars(11)},
    {"copies",     short_},
);

KVRPC_RECORD(get_logb_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
    {"pos",    long_},
    {"lng",    long_},
);

KVRPC_RECORD(get_logb_res,
    {"ok",   bool_},
    {"lng",  long_},
    {"data", text},
);

KVRPC_RECORD(get_pageb_arg,
    {"userid", chars(11)},
    {"topf",   short_},
    {"faxid",  long_},
    {"page",   short_},
    {"code",   short_},
    {"pos",    long_},
    {"lng",    long_},
);

KVRPC_RECORD(get_pageb_res,
    {"ok",   bool_},
    {"lng",  long_},
    {"data", text},
);

KVRPC_RECORD(put_pageb_arg,
    {"userid",   chars(11)},
    {"faxid",    long_},
    {"seitennr", short_},
    {"typ",      short_},
    {"pos",      long_},
    {"lng",      long_},
    {"data",     text},
);

KVRPC_RECORD(get_sigb_arg,
    {"userid", chars(11)},
    {"pos",    long_},
    {"lng",    long_},
);

KVRPC_RECORD(get_sigb_res,
    {"ok",   bool_},
    {"lng",  long_},
    {"data", text},
);

KVRPC_RECORD(put_sigb_arg,
    {"userid", chars(11)},
    {"pos",    long_},
    {"lng",    long_},
    {"data",   text},
);

KVRPC_RECORD(get_logl_arg,
    {"userid",              chars(11)},
    {"topf",                short_},
    {"faxid",               long_},
    {"pos",                 long_},
    {"lng",                 long_},
    {"language_identifier", chars(31)},
);

KVRPC_RECORD(get_logl_res,
    {"ok",   bool_},
    {"pos",  long_},
    {"data", pointer_to(get_kzg_res_data)},
);

KVRPC_RECORD(exc_bif_arg,
    {"userid",  chars(11)},
    {"topf",    short_},
    {"faxid",   long_},
    {"newflag", bool_},
);

KVRPC_RECORD(exc_bif_res,
    {"ok",      bool_},
    {"oldflag", bool_},
);

KVRPC_RECORD(get_pb_arg,
    {"loginid",   long_},
    {"selection", short_},
    {"pos",       long_},
    {"anz",       long_},
);

KVRPC_RECORD(get_sb_arg,
    {"loginid",   long_},
    {"selection", short_},
    {"pos",       long_},
    {"anz",       long_},
);

KVRPC_RECORD(exc_status_arg,
    {"userid",  chars(11)},
    {"topf",    short_},
    {"faxid",   long_},
    {"status",  short_},
    {"newflag", bool_},
);

KVRPC_RECORD(exc_status_res,
    {"errcode", short_},
    {"oldflag", bool_},
);

KVRPC_RECORD(bif_new_arg_v0,
    {"userid", chars(11)},
    {"typ",    short_},
    {"topf",   short_},
);

KVRPC_UNION(bif_new_arg, "vers",
    {0, "v0", inline_(bif_new_arg_v0)},
);

KVRPC_RECORD(bif_new_res_v0,
    {"err", long_},
    {"out", bool_},
);

KVRPC_UNION(bif_new_res, "vers",
    {0, "v0", inline_(bif_new_res_v0)},
);

KVRPC_RECORD(put_board_arg,
    {"color", short_},
    {"id",    chars(11)},
    {"msg",   chars(81)},
);

KVRPC_RECORD(get_board_res_node,
    {"next",   list_next},
    {"id",     chars(11)},
    {"msg",    chars(81)},
    {"change", long_},
);

KVRPC_RECORD(get_board_res,
    {"first",      pointer_to(get_board_res_node)},
    {"lastchange", long_},
);

KVRPC_RECORD(get_boardl_arg,
    {"color",               short_},
    {"oldchange",           long_},
    {"language_identifier", chars(31)},
);

constexpr noted_procedure alpha_noted[] = {
    //     name               argument                  result
    {{   3, "a_mk_dok_1",      chars(11),                long_},
        stated("Makes a document for a user and returns its new faxid.",
            "a_put_page_1 a_cp_dok_1 a_del_dok_1 a_sende_1 a_send_new_1")},
    {{   4, "a_put_page_1",    inline_(put_page_arg),    bool_},
        stated("Writes a whole page of a document in one call.",
            "a_del_page_1 a_put_pageb_1 a_get_page_1 a_ins_page_1")},
    {{   5, "a_cp_dok_1",      inline_(cp_dok_arg),      bool_},
        stated("Copies a document (sourcetopf, sourcefaxid) to the document destfaxid.",
            "a_mk_dok_1 a_cp_page_1")},
    {{   6, "a_del_dok_1",     inline_(del_dok_arg),     bool_},
        stated("Deletes a document; delentry is a further flag.",
            "a_mk_dok_1 a_del_page_1")},
    {{   7, "a_get_e_1",       inline_(get_e_arg),       inline_(get_e_res)},
        from_name("Lists the receive records of a session (loginid); older form.",
            "a_get_e_rec_new_ll_1 a_get_eb_1 a_get_e_rec_1")},
    {{   8, "a_get_p_1",       inline_(get_p_arg),       inline_(get_p_res)},
        from_name("Lists the documents in the pool that a session (loginid) sees.",
            "a_get_pb_1 a_get_p_rec_1")},
    {{   9, "a_get_s_1",       inline_(get_s_arg),       inline_(get_s_res)},
        stated("Lists the send records of a session (loginid); older form.",
            "a_get_s_rec_new_ll_1 a_get_sb_1 a_get_s_rec_1")},
    {{  10, "a_bif_1",         inline_(bif_arg),         bool_},
        unknown("The meaning of bif is not known; takes userid and topf, returns true or false.",
            "a_bif_new_1 a_put_bif_1 a_exc_bif_1")},
    {{  14, "a_get_page_1",    inline_(get_page_arg),    text},
        stated("Reads a whole page of a document in one call.",
            "a_get_pageb_1 a_put_page_1")},
    {{  15, "a_del_page_1",    inline_(del_page_arg),    bool_},
        from_name("Deletes a page of a document.",
            "a_ins_page_1 a_put_page_1")},
    {{  16, "a_cp_page_1",     inline_(cp_page_arg),     bool_},
        from_name("Copies a page of one document (source...) to another (dest...).",
            "a_cp_dok_1")},
    {{  18, "a_get_p_rec_1",   inline_(get_p_rec_arg),   inline_(get_p_rec_res)},
        from_name("Reads the record of one document in a user's pool.",
            "a_get_p_1 a_get_pb_1 a_put_comment_1 a_put_public_1")},
    {{  20, "a_get_inf_1",     inline_(get_inf_arg),     inline_(get_inf_res)},
        from_name("Reads a document's inf data: a length and up to 1000 numbers.",
            "s_get_inf_1")},
    {{  21, "a_get_log_1",     inline_(get_log_arg),     text},
        stated("Reads a document's whole log in one call.",
            "a_get_logb_1 a_get_logl_1 a_put_log_1")},
    {{  22, "a_put_log_1",     inline_(put_log_arg),     bool_},
        from_name("Writes a line of text (zeile) to a document's log.",
            "a_get_log_1")},
    {{  23, "a_put_comment_1", inline_(put_comment_arg), bool_},
        from_name("Writes the comment of a document.",
            "a_get_p_rec_1")},
    {{  24, "a_put_public_1",  inline_(put_public_arg),  bool_},
        from_name("Writes the flag public_ of a document.",
            "a_get_p_rec_1")},
    {{  38, "a_ins_page_1",    inline_(ins_page_arg),    bool_},
        from_name("Inserts a page into a document as number page.",
            "a_put_page_1 a_del_page_1")},
    {{  40, "a_get_sig_1",     chars(11),                text},
        stated("Reads a user's whole signature in one call.",
            "a_get_sigb_1 a_put_sig_1")},
    {{  41, "a_put_sig_1",     inline_(put_sig_arg),     bool_},
        stated("Writes a user's whole signature in one call.",
            "a_put_sigb_1 a_get_sig_1")},
    {{  42, "a_put_bif_1",     inline_(put_bif_arg),     bool_},
        from_name("Writes the flag bif of a document; the meaning of bif is not known.",
            "a_exc_bif_1 a_bif_1 a_bif_new_1")},
    {{  48, "a_put_scan_1",    inline_(put_scan_arg),    bool_},
        from_name("Writes a request to scan on a line for a user.",
            "t_put_scan_1 t_get_scan_1")},
    {{  52, "a_forward_1",     inline_(forward_arg),     bool_},
        from_name("Forwards a document to a user (desth, destu) or a group, into desttopf.",
            "a_cp_dok_1")},
    {{  53, "a_print_dok_1",   inline_(print_dok_arg),   bool_},
        from_name("Prints pages firstpage to lastpage of a document on the printer printid.",
            "a_get_printer_ll_1 a_get_printer_1")},
    {{  58, "a_get_logb_1",    inline_(get_logb_arg),    inline_(get_logb_res)},
        stated("Reads a block of a document's log (pos, lng).",
            "a_get_log_1 a_get_logl_1 a_put_log_1")},
    {{  59, "a_get_pageb_1",   inline_(get_pageb_arg),   inline_(get_pageb_res)},
        stated("Reads a block of a page (pos, lng).",
            "a_get_page_1 a_put_pageb_1")},
    {{  60, "a_put_pageb_1",   inline_(put_pageb_arg),   bool_},
        stated("Writes a block of a page (pos, lng).",
            "a_put_page_1 a_get_pageb_1")},
    {{  61, "a_get_sigb_1",    inline_(get_sigb_arg),    inline_(get_sigb_res)},
        stated("Reads a block of a user's signature (pos, lng).",
            "a_get_sig_1 a_put_sigb_1")},
    {{  62, "a_put_sigb_1",    inline_(put_sigb_arg),    bool_},
        stated("Writes a block of a user's signature (pos, lng).",
            "a_put_sig_1 a_get_sigb_1")},
    {{  72, "a_get_logl_1",    inline_(get_logl_arg),    inline_(get_logl_res)},
        stated("Reads a block of a document's log in a language, as a list of texts.",
            "a_get_logb_1 a_get_log_1")},
    {{  76, "a_exc_bif_1",     inline_(exc_bif_arg),     inline_(exc_bif_res)},
        stated("Exchanges a document's flag bif: takes newflag, returns oldflag.",
            "a_put_bif_1 a_bif_1 a_exc_status_1")},
    {{  85, "a_get_eb_1",      inline_(get_eb_arg),      inline_(get_e_res)},
        stated("Reads the listing of a_get_e_1 in blocks (pos, anz).",
            "a_get_e_rec_new_ll_1 a_get_e_1 a_get_e_rec_1")},
    {{  86, "a_get_pb_1",      inline_(get_pb_arg),      inline_(get_p_res)},
        stated("Reads the listing of a_get_p_1 in blocks (pos, anz).",
            "a_get_p_1 a_get_p_rec_1")},
    {{  87, "a_get_sb_1",      inline_(get_sb_arg),      inline_(get_s_res)},
        stated("Reads the listing of a_get_s_1 in blocks (pos, anz).",
            "a_get_s_rec_new_ll_1 a_get_s_1 a_get_s_rec_1")},
    {{ 113, "a_exc_status_1",  inline_(exc_status_arg),  inline_(exc_status_res)},
        stated("Exchanges a status flag of a document: takes newflag, returns oldflag.",
            "a_exc_bif_1")},
    {{ 135, "a_bif_new_1",     inline_(bif_new_arg),     inline_(bif_new_res)},
        unknown("Newer form of a_bif_1, with typ; the meaning of bif is not known.",
            "a_bif_1 a_put_bif_1 a_exc_bif_1")},
    {{1005, "a_put_board_1",   inline_(put_board_arg),   bool_},
        stated("Writes a message (id, msg) to the board of one color.",
            "a_get_board_1 a_get_boardl_1")},
    {{1006, "a_get_board_1",   short_,                   inline_(get_board_res)},
        stated("Reads the messages of one board, by its number, with lastchange.",
            "a_get_boardl_1 a_put_board_1")},
    {{1007, "a_get_boardl_1",  inline_(get_boardl_arg),  inline_(get_board_res)},
        stated("Reads the messages of a board for a language; takes the color and oldchange.",
            "a_get_board_1 a_put_board_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_documents = list_of<alpha_rows>();
constexpr noted_list alpha_documents_notes = notes_of(alpha_noted);

}  // namespace kvrpc::schema
