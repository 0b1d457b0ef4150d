// Users and user settings: users, their named settings (usrconf), their mail addresses (muser),
// gateways (gwuser) and reply addresses (reply_addr).
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_users.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(user_rec,
    {"userid",   chars(11)},
    {"printid",  chars(11)},
    {"lineid",   chars(11)},
    {"defres",   short_},
    {"hinterg",  vector_of(long_, 10)},
    {"prio",     short_},
    {"actions",  long_},
    {"allow",    long_},
    {"deny",     long_},
    {"privdeny", long_},
    {"passwor",  chars(21)},
    {"mailadr",  chars(81)},
    {"voicenst", chars(21)},
);

KVRPC_RECORD(get_o_user_arg,
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
);

KVRPC_RECORD(check_cycle_arg,
    {"userid",   chars(11)},
    {"vertreth", chars(36)},
    {"vertretu", chars(11)},
);

KVRPC_RECORD(usrconf_rec,
    {"userid", chars(11)},
    {"name",   chars(11)},
);

KVRPC_RECORD(put_usrconf_arg,
    {"userid",  chars(11)},
    {"name",    chars(11)},
    {"content", chars(81)},
);

KVRPC_RECORD(get_usrconf_ll_arg,
    {"userid",    chars(11)},
    {"pos",       chars(11)},
    {"anz",       long_},
    {"user_only", bool_},
);

KVRPC_RECORD(get_usrconf_ll_res_node,
    {"next",    list_next},
    {"userid",  chars(11)},
    {"name",    chars(11)},
    {"content", chars(81)},
);

KVRPC_RECORD(get_usrconf_ll_res,
    {"first",   pointer_to(get_usrconf_ll_res_node)},
    {"anz",     long_},
    {"errcode", short_},
);

KVRPC_RECORD(usrconf_new_rec_v1,
    {"userid", chars(11)},
    {"name",   chars(31)},
);

KVRPC_UNION(usrconf_new_rec, "selection",
    {1, "v1", inline_(usrconf_new_rec_v1)},
);

KVRPC_RECORD(get_usrconf_new_res,
    {"errcode", short_},
    {"content", chars(81)},
);

KVRPC_RECORD(put_usrconf_new_arg_v1,
    {"userid",  chars(11)},
    {"name",    chars(31)},
    {"content", chars(81)},
);

KVRPC_UNION(put_usrconf_new_arg, "selection",
    {1, "v1", inline_(put_usrconf_new_arg_v1)},
);

KVRPC_RECORD(get_usrconf_new_ll_arg_v1,
    {"userid",    chars(11)},
    {"pos",       chars(31)},
    {"anz",       long_},
    {"user_only", bool_},
);

KVRPC_UNION(get_usrconf_new_ll_arg, "selection",
    {1, "v1", inline_(get_usrconf_new_ll_arg_v1)},
);

KVRPC_RECORD(get_usrconf_new_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_usrconf_new_arg)},
);

KVRPC_RECORD(get_usrconf_new_ll_res,
    {"errcode", short_},
    {"anz",     long_},
    {"first",   pointer_to(get_usrconf_new_ll_res_node)},
);

constexpr noted_procedure alpha_noted[] = {
    //    name                        argument                           result
    {{ 30, "a_get_user_1",             chars(11),                         inline_(user_rec)},
        stated("Reads the local record of a user.",
            "a_put_user_1 a_get_o_user_1 a_get_system_userlist_1 a_del_user_1")},
    {{ 31, "a_put_user_1",             inline_(user_rec),                 bool_},
        stated("Writes the local record of a user.",
            "a_get_user_1 a_put_o_user_1 a_del_user_1")},
    {{ 32, "a_get_system_userlist_1",  nothing,                           inline_(get_user_ll_res)},
        from_name("Lists the users of the system.",
            "a_get_system_userlistb_1 a_get_o_user_1 o_get_user_ll_1")},
    {{ 35, "a_get_o_user_1",           inline_(get_o_user_arg),           inline_(put_user_arg)},
        stated("Reads the user record that the server omega also knows.",
            "a_put_o_user_1 a_get_user_1 o_get_user_1")},
    {{ 49, "a_del_user_1",             chars(11),                         bool_},
        from_name("Deletes a user.",
            "a_put_user_1 o_del_user_1")},
    {{ 50, "a_put_o_user_1",           inline_(put_user_arg),             bool_},
        stated("Writes the user record that the server omega also knows.",
            "a_get_o_user_1 a_put_user_1 o_put_user_1")},
    {{ 51, "a_check_cycle_1",          inline_(check_cycle_arg),          bool_},
        from_name("Checks a user's deputy (vertreth, vertretu) for a cycle of deputies.",
            "a_put_o_user_1 o_check_v_cycle_1")},
    {{ 95, "a_get_muser_addr_1",       chars(81),                         inline_(get_muser_addr_res)},
        stated("Reads the entry that joins a mail address to a line, by its mailaddr.",
            "a_put_muser_1 a_get_muser_line_1 a_get_muser_addr_ll_1 o_get_muser_addr_1")},
    {{ 96, "a_get_muser_line_1",       chars(11),                         inline_(get_muser_addr_res)},
        stated("Reads the entry that joins a mail address to a line, by its lineid.",
            "a_put_muser_1 a_get_muser_addr_1 a_get_muser_line_ll_1 o_get_muser_line_1")},
    {{ 97, "a_put_muser_1",            inline_(get_muser_addr_res),       bool_},
        stated("Writes an entry that joins a mail address to a line, with lastaccess.",
            "a_get_muser_addr_1 a_get_muser_line_1 a_del_muser_1 a_put_gwuser_1 o_put_muser_1")},
    {{ 98, "a_del_muser_1",            chars(81),                         bool_},
        stated("Deletes the entry that joins a mail address to a line, by its mailaddr.",
            "a_put_muser_1 o_del_muser_1")},
    {{ 99, "a_get_muser_addr_ll_1",    inline_(get_muser_addr_ll_arg),    inline_(get_muser_addr_ll_res)},
        stated("Lists the entries that join a mail address to a line, starting at the mailaddr pos.",
            "a_get_muser_line_ll_1 a_get_muser_addr_1 o_get_muser_addr_ll_1")},
    {{100, "a_get_muser_line_ll_1",    inline_(get_muser_line_ll_arg),    inline_(get_muser_addr_ll_res)},
        stated("Lists the entries that join a mail address to a line, starting at the lineid pos.",
            "a_get_muser_addr_ll_1 a_get_muser_line_1 o_get_muser_line_ll_1")},
    {{101, "a_get_system_userlistb_1", inline_(get_system_userlistb_arg), inline_(get_user_ll_res)},
        from_name("Lists the users of the system in blocks (alphaid, userid, anz).",
            "a_get_system_userlist_1 o_get_user_llb_1")},
    {{105, "a_get_usrconf_1",          inline_(usrconf_rec),              chars(81)},
        stated("Reads a named setting of a user (name up to 10 characters).",
            "a_get_usrconf_new_1 a_put_usrconf_1 a_get_usrconf_ll_1")},
    {{106, "a_put_usrconf_1",          inline_(put_usrconf_arg),          bool_},
        stated("Writes a named setting of a user (name up to 10 characters).",
            "a_put_usrconf_new_1 a_get_usrconf_1 a_del_usrconf_1")},
    {{107, "a_del_usrconf_1",          inline_(usrconf_rec),              bool_},
        stated("Deletes a named setting of a user (name up to 10 characters).",
            "a_del_usrconf_new_1 a_put_usrconf_1")},
    {{110, "a_get_reply_addr_1",       inline_(get_reply_addr_arg),       inline_(get_reply_addr_res)},
        stated("Reads a reply address by nettype and tsi, userid and alphaid.",
            "a_put_reply_addr_1 a_get_reply_addr_ll_1 o_get_reply_addr_1")},
    {{112, "a_get_usrconf_ll_1",       inline_(get_usrconf_ll_arg),       inline_(get_usrconf_ll_res)},
        stated("Lists settings of a user, in blocks (pos, anz).",
            "a_get_usrconf_new_ll_1 a_get_usrconf_1")},
    {{120, "a_put_gwuser_1",           inline_(put_gwuser_arg),           short_},
        stated("Writes an entry that joins a mail address to a line for a gateway type.",
            "a_get_gwuser_1 a_get_gwuser_ll_1 a_del_gwuser_1 a_put_muser_1 o_put_gwuser_1")},
    {{121, "a_del_gwuser_1",           inline_(del_gwuser_arg),           short_},
        stated("Deletes the entry of a mail address for a gateway type.",
            "a_put_gwuser_1 o_del_gwuser_1")},
    {{126, "a_put_reply_addr_1",       inline_(put_reply_addr_arg),       short_},
        stated("Writes a reply address, kept by nettype and tsi.",
            "a_get_reply_addr_1 a_del_reply_addr_1 o_put_reply_addr_1")},
    {{127, "a_del_reply_addr_1",       inline_(del_reply_addr_arg),       short_},
        stated("Deletes a reply address.",
            "a_put_reply_addr_1 o_del_reply_addr_1")},
    {{128, "a_get_reply_addr_ll_1",    inline_(get_reply_addr_ll_arg),    inline_(get_reply_addr_ll_res)},
        from_name("Lists reply addresses, asked for by user, by lastaccess or by barred.",
            "a_get_reply_addr_1 a_put_reply_addr_1 o_get_reply_addr_ll_1")},
    {{133, "a_get_gwuser_ll_1",        inline_(get_gwuser_ll_arg),        inline_(get_gwuser_ll_res)},
        stated("Lists the entries of a gateway type, starting at a mailaddr or a lineid (pos).",
            "a_get_gwuser_1 a_put_gwuser_1 o_get_gwuser_ll_1")},
    {{134, "a_get_gwuser_1",           inline_(get_gwuser_arg),           inline_(get_gwuser_res)},
        stated("Reads the entry of a gateway type, by its mailaddr or its lineid.",
            "a_put_gwuser_1 a_get_gwuser_ll_1 o_get_gwuser_1")},
    {{143, "a_del_usrconf_new_1",      inline_(usrconf_new_rec),          bool_},
        stated("Deletes a named setting of a user (name up to 30 characters).",
            "a_del_usrconf_1 a_put_usrconf_new_1")},
    {{144, "a_get_usrconf_new_1",      inline_(usrconf_new_rec),          inline_(get_usrconf_new_res)},
        stated("Reads a named setting of a user (name up to 30 characters), with errcode.",
            "a_get_usrconf_1 a_put_usrconf_new_1 a_get_usrconf_new_ll_1")},
    {{145, "a_put_usrconf_new_1",      inline_(put_usrconf_new_arg),      bool_},
        stated("Writes a named setting of a user (name up to 30 characters).",
            "a_put_usrconf_1 a_get_usrconf_new_1 a_del_usrconf_new_1")},
    {{146, "a_get_usrconf_new_ll_1",   inline_(get_usrconf_new_ll_arg),   inline_(get_usrconf_new_ll_res)},
        stated("Lists settings of a user in the newer form, in blocks (pos, anz).",
            "a_get_usrconf_ll_1 a_get_usrconf_new_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_users = list_of<alpha_rows>();
constexpr noted_list alpha_users_notes = notes_of(alpha_noted);

}  // namespace kvrpc::schema
