// Send and receive jobs: creating, changing, reading and ending send jobs, reading receive records.
// The `_new` forms carry unions that select the short or the long form of a record.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_documents.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(get_e_rec_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
);

KVRPC_RECORD(get_s_rec_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
);

KVRPC_RECORD(sende_arg,
    {"userid",    chars(11)},
    {"poolfaxid", long_},
    {"s_record",  inline_(s_rec)},
);

KVRPC_RECORD(cancel_s_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
);

KVRPC_RECORD(restart_s_arg,
    {"userid", chars(11)},
    {"faxid",  long_},
);

KVRPC_RECORD(cha_s_rec_arg,
    {"faxid",    long_},
    {"userid",   chars(11)},
    {"prio",     short_},
    {"comment",  chars(31)},
    {"sollzeit", long_},
    {"nachtkz",  bool_},
    {"sollrepc", short_},
    {"res",      long_},
);

KVRPC_RECORD(send_new_arg_v0,
    {"userid",    chars(11)},
    {"poolfaxid", long_},
    {"s_record",  inline_(s_rec)},
    {"headline",  chars(81)},
    {"tsi",       chars(31)},
    {"cpi",       chars(21)},
    {"pincode",   chars(21)},
);

KVRPC_RECORD(s_rec_v1,
    {"faxid",        long_},
    {"userid",       chars(11)},
    {"prio",         short_},
    {"status",       long_},
    {"seiten",       short_},
    {"comment",      chars(31)},
    {"crezeit",      long_},
    {"sollzeit",     long_},
    {"nachtkz",      bool_},
    {"istzeit",      long_},
    {"dauer",        short_},
    {"seitenok",     short_},
    {"nextzeit",     long_},
    {"errstat",      short_},
    {"sollrepc",     short_},
    {"istrepc",      short_},
    {"empftsi",      chars(21)},
    {"empfnr",       chars(31)},
    {"nettype",      short_},
    {"res",          long_},
    {"timeout",      long_},
    {"ready",        bool_},
    {"charge_unit",  chars(11)},
    {"charge_value", long_},
    {"gw_type",      chars(11)},
    {"mailaddr",     chars(81)},
    {"lineid_xmt",   chars(11)},
    {"error_string", chars(81)},
    {"alphaid_src",  chars(36)},
    {"userid_src",   chars(11)},
    {"costunit_src", chars(11)},
    {"alphaid_xmt",  chars(36)},
    {"costunit_xmt", chars(11)},
);

KVRPC_RECORD(send_new_arg_v1,
    {"userid",    chars(11)},
    {"poolfaxid", long_},
    {"s_rec_v1",  inline_(s_rec_v1)},
    {"headline",  chars(81)},
    {"tsi",       chars(31)},
    {"cpi",       chars(21)},
    {"pincode",   chars(21)},
);

KVRPC_UNION(send_new_arg, "selection",
    {0, "v0", inline_(send_new_arg_v0)},
    {1, "v1", inline_(send_new_arg_v1)},
);

KVRPC_RECORD(send_new_res_v0,
    {"faxid",   long_},
    {"errcode", short_},
);

KVRPC_UNION(send_new_res, "selection",
    {0, "v0", inline_(send_new_res_v0)},
);

KVRPC_RECORD(get_s_rec_new_arg_v1,
    {"userid", chars(11)},
    {"faxid",  long_},
);

KVRPC_UNION(get_s_rec_new_arg, "selection",
    {1, "v1", inline_(get_s_rec_new_arg_v1)},
);

KVRPC_UNION(s_rec_new, "selection",
    {0, "v0", inline_(s_rec)},
    {1, "v1", inline_(s_rec_v1)},
);

KVRPC_RECORD(get_s_rec_new_res,
    {"errcode",   short_},
    {"s_rec_new", inline_(s_rec_new)},
);

KVRPC_RECORD(cha_s_rec_new_arg_v1,
    {"faxid",    long_},
    {"userid",   chars(11)},
    {"prio",     short_},
    {"comment",  chars(31)},
    {"sollzeit", long_},
    {"nachtkz",  bool_},
    {"sollrepc", short_},
    {"res",      long_},
    {"timeout",  long_},
);

KVRPC_UNION(cha_s_rec_new_arg, "selection",
    {1, "v1", inline_(cha_s_rec_new_arg_v1)},
);

KVRPC_RECORD(get_s_rec_new_ll_arg_v1,
    {"loginid",   long_},
    {"selection", short_},
    {"gw_type",   chars(11)},
    {"mailaddr",  chars(81)},
    {"pos",       long_},
    {"anz",       long_},
);

KVRPC_UNION(get_s_rec_new_ll_arg, "selection",
    {1, "v1", inline_(get_s_rec_new_ll_arg_v1)},
);

KVRPC_RECORD(get_s_rec_new_ll_res_node,
    {"next", list_next},
    {"data", inline_(s_rec_new)},
);

KVRPC_RECORD(get_s_rec_new_ll_res,
    {"errcode", short_},
    {"anz",     long_},
    {"first",   pointer_to(get_s_rec_new_ll_res_node)},
);

KVRPC_RECORD(e_rec_new_v1,
    {"faxid",    long_},
    {"userid",   chars(11)},
    {"status",   long_},
    {"errstat",  short_},
    {"seiten",   short_},
    {"comment",  chars(31)},
    {"absender", chars(21)},
    {"empfzeit", long_},
    {"dauer",    short_},
    {"lineid",   chars(21)},
    {"abscomm",  chars(31)},
);

KVRPC_UNION(e_rec_new, "selection",
    {1, "v1", inline_(e_rec_new_v1)},
);

KVRPC_RECORD(get_e_rec_new_res,
    {"errcode",   short_},
    {"e_rec_new", inline_(e_rec_new)},
);

KVRPC_RECORD(get_e_rec_new_ll_res_node,
    {"next", list_next},
    {"data", inline_(e_rec_new)},
);

KVRPC_RECORD(get_e_rec_new_ll_res,
    {"errcode", short_},
    {"anz",     long_},
    {"first",   pointer_to(get_e_rec_new_ll_res_node)},
);

KVRPC_RECORD(put_s_stat_arg,
    {"faxid",    long_},
    {"status",   long_},
    {"istzeit",  long_},
    {"dauer",    short_},
    {"seitenok", short_},
    {"errstat",  short_},
    {"istrepc",  short_},
    {"empftsi",  chars(21)},
);

KVRPC_RECORD(get_nue_nr_res,
    {"nue_nr",  long_},
    {"errcode", short_},
);

KVRPC_RECORD(get_sendjob_ll_arg_v0,
    {"nettype", short_},
    {"anz",     long_},
    {"request", short_},
    {"action",  long_},
    {"lineid",  chars(11)},
);

KVRPC_UNION(get_sendjob_ll_arg, "selection",
    {0, "v0", inline_(get_sendjob_ll_arg_v0)},
);

KVRPC_RECORD(get_sendjob_ll_res_node_data_v0,
    {"s_rec",    inline_(s_rec)},
    {"alphaid",  chars(36)},
    {"tsi",      chars(31)},
    {"headline", chars(81)},
    {"cpi",      chars(21)},
    {"pincode",  chars(31)},
);

KVRPC_RECORD(get_sendjob_ll_res_node_data_v1,
    {"vorix_command", chars(81)},
);

KVRPC_UNION(get_sendjob_ll_res_node_data, "selection",
    {0, "v0", inline_(get_sendjob_ll_res_node_data_v0)},
    {1, "v1", inline_(get_sendjob_ll_res_node_data_v1)},
);

KVRPC_RECORD(get_sendjob_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_sendjob_ll_res_node_data)},
);

KVRPC_RECORD(get_sendjob_ll_res,
    {"first",   pointer_to(get_sendjob_ll_res_node)},
    {"anz",     long_},
    {"errcode", short_},
);

KVRPC_RECORD(put_s_stat_new_arg_v1,
    {"faxid",        long_},
    {"status",       long_},
    {"istzeit",      long_},
    {"dauer",        short_},
    {"seitenok",     short_},
    {"errstat",      short_},
    {"istrepc",      short_},
    {"empftsi",      chars(21)},
    {"charge_unit",  chars(11)},
    {"charge_value", long_},
    {"error_string", chars(81)},
    {"job_alive",    bool_},
);

KVRPC_UNION(put_s_stat_new_arg, "selection",
    {1, "v1", inline_(put_s_stat_new_arg_v1)},
);

constexpr noted_procedure alpha_noted[] = {
    //     name                    argument                       result
    {{  17, "a_get_e_rec_1",        inline_(get_e_rec_arg),        inline_(get_e_rec_res)},
        stated("Reads one receive record by userid and faxid; older form.",
            "a_get_e_rec_new_1 a_get_e_1 a_get_eb_1")},
    {{  19, "a_get_s_rec_1",        inline_(get_s_rec_arg),        inline_(s_rec)},
        stated("Reads one send record by userid and faxid; older form.",
            "a_get_s_rec_new_1 a_cha_s_rec_1 a_get_s_1")},
    {{  25, "a_sende_1",            inline_(sende_arg),            long_},
        stated("Creates a send job from the document poolfaxid; older form.",
            "a_send_new_1 a_cancel_s_1 a_get_s_rec_1")},
    {{  36, "a_cancel_s_1",         inline_(cancel_s_arg),         bool_},
        stated("Cancels a send job.",
            "a_restart_s_1 a_send_new_1")},
    {{  37, "a_restart_s_1",        inline_(restart_s_arg),        bool_},
        stated("Restarts a send job.",
            "a_cancel_s_1 a_send_new_1")},
    {{  54, "a_cha_s_rec_1",        inline_(cha_s_rec_arg),        bool_},
        stated("Changes a send record: priority, comment, planned time, repeats; older form.",
            "a_cha_s_rec_new_1 a_get_s_rec_1")},
    {{ 132, "a_send_new_1",         inline_(send_new_arg),         inline_(send_new_res)},
        stated("Creates a send job from the document poolfaxid; returns its faxid and errcode.",
            "a_sende_1 a_cancel_s_1 a_get_s_rec_new_1")},
    {{ 137, "a_get_s_rec_new_1",    inline_(get_s_rec_new_arg),    inline_(get_s_rec_new_res)},
        stated("Reads one send record by userid and faxid, in its short or its long form.",
            "a_get_s_rec_1 a_cha_s_rec_new_1 a_get_s_rec_new_ll_1")},
    {{ 138, "a_cha_s_rec_new_1",    inline_(cha_s_rec_new_arg),    short_},
        stated("Changes a send record as a_cha_s_rec_1 does, and its timeout.",
            "a_cha_s_rec_1 a_get_s_rec_new_1")},
    {{ 139, "a_get_s_rec_new_ll_1", inline_(get_s_rec_new_ll_arg), inline_(get_s_rec_new_ll_res)},
        stated("Lists a session's send records in the newer form, in blocks (pos, anz).",
            "a_get_s_1 a_get_sb_1 a_get_s_rec_new_1")},
    {{ 140, "a_dump_job_list_1",    long_,                         nothing},
        from_name("Dumps the job list; the meaning of its number is not known.",
            "a_get_sendjob_ll_1")},
    {{ 141, "a_get_e_rec_new_1",    inline_(get_e_rec_arg),        inline_(get_e_rec_new_res)},
        stated("Reads one receive record by userid and faxid; newer form, longer lineid.",
            "a_get_e_rec_1 a_get_e_rec_new_ll_1")},
    {{ 142, "a_get_e_rec_new_ll_1", inline_(get_eb_arg),           inline_(get_e_rec_new_ll_res)},
        stated("Lists a session's receive records in the newer form, in blocks (pos, anz).",
            "a_get_e_1 a_get_eb_1 a_get_e_rec_new_1")},
    {{1004, "a_put_s_stat_1",       inline_(put_s_stat_arg),       bool_},
        from_name("Writes the status of a send job: times, pages done, errors; older form.",
            "a_put_s_stat_new_1 a_get_sendjob_ll_1 a_get_s_rec_1")},
    {{1008, "a_get_nue_nr_1",       nothing,                       inline_(get_nue_nr_res)},
        from_name("Reads a number of the server nue (nue_nr), with errcode.",
            "n_get_nr_1")},
    {{1009, "a_get_sendjob_ll_1",   inline_(get_sendjob_ll_arg),   inline_(get_sendjob_ll_res)},
        from_name("Lists send jobs by nettype, request, action and line.",
            "t_get_sendjob_ll_1 a_put_s_stat_new_1 a_put_s_stat_1")},
    {{1010, "a_put_s_stat_new_1",   inline_(put_s_stat_new_arg),   short_},
        from_name("Writes the status of a send job, with charges and an error text.",
            "a_put_s_stat_1 a_get_sendjob_ll_1 a_get_s_rec_new_1")},
};

constexpr noted_procedure theta_noted[] = {
    //   name                  argument                     result
    {{15, "t_get_sendjob_ll_1", inline_(get_sendjob_ll_arg), inline_(get_sendjob_ll_res)},
        from_name("Lists send jobs; same argument and result as a_get_sendjob_ll_1.",
            "a_get_sendjob_ll_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_jobs = list_of<alpha_rows>();
constexpr noted_list alpha_jobs_notes = notes_of(alpha_noted);
constexpr auto theta_rows = without_notes(theta_noted);
constexpr procedure_list theta_jobs = list_of<theta_rows>();
constexpr noted_list theta_jobs_notes = notes_of(theta_noted);

}  // namespace kvrpc::schema
