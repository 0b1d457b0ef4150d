// Administration of users, groups and directories: the system-wide data of omega, many of whose
// families mirror those of alpha under other numbers.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_records.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// `first` and `next` are plain numbers: the list hangs on `data`.
constexpr structure o_get_kzg_res{"o_get_kzg_res", {
    {"first", long_},
    {"next",  long_},
    {"data",  pointer_to(get_kzg_res_data)},
}};

constexpr structure get_user_arg{"get_user_arg", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
}};

constexpr structure del_user_arg{"del_user_arg", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
}};

constexpr structure get_groupl_ll_res_node{"get_groupl_ll_res_node", {
    {"next", list_next},
    {"data", inline_(groupl_rec)},
}};

constexpr structure get_groupl_ll_res{"get_groupl_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_groupl_ll_res_node)},
}};

constexpr structure get_group_member_ll_res{"get_group_member_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_group_res_node)},
}};

constexpr structure check_v_cycle_arg{"check_v_cycle_arg", {
    {"x_host", chars(36)},
    {"x_user", chars(11)},
    {"v_host", chars(36)},
    {"v_user", chars(11)},
}};

constexpr structure make_verteiler_arg{"make_verteiler_arg", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"groupid", chars(11)},
}};

constexpr structure make_verteiler_res_node{"make_verteiler_res_node", {
    {"next",    list_next},
    {"alphaid", chars(36)},
    {"user_ll", pointer_to(user_ll)},
}};

constexpr structure make_verteiler_res{"make_verteiler_res", {
    {"first", pointer_to(make_verteiler_res_node)},
    {"ok",    bool_},
}};

constexpr structure put_logins_arg{"put_logins_arg", {
    {"alphaid", chars(36)},
    {"logins",  short_},
}};

constexpr structure cha_admpw_arg{"cha_admpw_arg", {
    {"oldpw", chars(21)},
    {"newpw", chars(21)},
}};

constexpr noted_procedure omega_noted[] = {
    //    name                       argument                           result
    {{  1, "o_exit_1",                nothing,                           nothing},
        from_name("Exit command of the server omega; takes and returns nothing.")},
    {{  2, "o_get_kzg_1",             long_,                             inline_(o_get_kzg_res)},
        unknown("The meaning of kzg is not known; takes a number, returns a list of texts.",
            "a_get_kzg_1 s_get_kzg_1 t_get_kzg_1")},
    {{  3, "o_put_user_1",            inline_(put_user_arg),             bool_},
        stated("Writes a user, named by alphaid and userid.",
            "o_get_user_1 o_get_user_ll_1 o_del_user_1 o_check_v_cycle_1 a_put_o_user_1")},
    {{  4, "o_get_user_1",            inline_(get_user_arg),             inline_(put_user_arg)},
        stated("Reads one user by alphaid and userid.",
            "o_put_user_1 o_get_user_ll_1 o_search_bar_1 a_get_o_user_1")},
    {{  5, "o_get_user_ll_1",         nothing,                           inline_(get_user_ll_res)},
        stated("Lists the users.",
            "o_get_user_llb_1 o_get_user_1 a_get_system_userlist_1")},
    {{  6, "o_del_user_1",            inline_(del_user_arg),             bool_},
        stated("Deletes a user.",
            "o_put_user_1 a_del_user_1")},
    {{ 31, "o_put_group_1",           inline_(get_o_group_res),          bool_},
        stated("Writes a group of users, named by groupid.",
            "o_get_group_1 o_get_group_ll_1 o_del_group_1 o_put_groupl_1")},
    {{ 32, "o_get_group_1",           chars(11),                         inline_(get_o_group_res)},
        stated("Reads one group of users by its groupid.",
            "o_put_group_1 o_get_group_ll_1 a_get_o_group_1")},
    {{ 33, "o_get_group_ll_1",        nothing,                           inline_(get_group_ll_res)},
        stated("Lists the groups of users.",
            "o_get_group_1 o_get_groupl_ll_1 a_get_groups_1")},
    {{ 34, "o_del_group_1",           chars(11),                         bool_},
        stated("Deletes a group of users.",
            "o_put_group_1 o_del_groupl_1")},
    {{ 35, "o_put_groupl_1",          inline_(groupl_rec),               bool_},
        stated("Makes a user a member of a group.",
            "o_get_groupl_ll_1 o_del_groupl_1 o_check_groupl_1")},
    {{ 36, "o_get_groupl_ll_1",       chars(11),                         inline_(get_groupl_ll_res)},
        stated("Lists the members of a group of users.",
            "o_put_groupl_1 o_get_group_member_ll_1 o_del_groupl_1")},
    {{ 37, "o_del_groupl_1",          inline_(groupl_rec),               bool_},
        stated("Ends the membership of a user in a group.",
            "o_put_groupl_1 o_get_groupl_ll_1")},
    {{ 43, "o_put_tele_1",            inline_(put_tele_arg),             bool_},
        stated("Writes a single address entry, named by telid.",
            "o_get_tele_1 o_get_tele_ll_1 o_del_tele_1 a_put_tele_1")},
    {{ 44, "o_get_tele_1",            chars(11),                         inline_(put_tele_arg)},
        stated("Reads a single address entry by its telid.",
            "o_put_tele_1 o_get_tele_ll_1 a_search_tele_1")},
    {{ 45, "o_get_tele_ll_1",         long_,                             inline_(get_tele_ll_res)},
        stated("Lists the single address entries; the meaning of its number is not known.",
            "o_get_tele_1 o_put_tele_1 a_get_tele_1")},
    {{ 46, "o_del_tele_1",            chars(11),                         bool_},
        stated("Deletes a single address entry by its telid.",
            "o_put_tele_1 a_del_tele_1")},
    {{ 47, "o_get_group_member_ll_1", chars(11),                         inline_(get_group_member_ll_res)},
        from_name("Lists the users of a group, with alphaid, userid and name.",
            "o_get_groupl_ll_1 a_get_group_1")},
    {{ 52, "o_check_v_cycle_1",       inline_(check_v_cycle_arg),        bool_},
        from_name("Checks two users for a cycle: x_host and x_user, v_host and v_user.",
            "o_put_user_1 a_check_cycle_1")},
    {{ 53, "o_make_verteiler_1",      inline_(make_verteiler_arg),       inline_(make_verteiler_res)},
        stated("Builds a list for a group: for each alphaid a list of users.",
            "o_get_group_member_ll_1")},
    {{ 54, "o_search_tsi_1",          chars(21),                         inline_(put_tele_arg)},
        from_name("Finds a single address entry by its TSI.",
            "o_get_tele_1 o_lookup_tsi_1 a_lookup_tsi_1")},
    {{ 56, "o_search_bar_1",          chars(21),                         inline_(put_user_arg)},
        from_name("Finds a user by barcode.",
            "o_get_user_1")},
    {{ 57, "o_put_logins_1",          inline_(put_logins_arg),           bool_},
        from_name("Writes a number of logins for an alpha server.",
            "o_get_configdata_1")},
    {{ 58, "o_put_tgroup_1",          inline_(put_tgroup_arg),           bool_},
        stated("Writes a group of addresses, named by groupid.",
            "o_get_tgroup_1 o_get_tgroup_ll_1 o_del_tgroup_1 o_put_tgroupl_1 a_put_tgroup_1")},
    {{ 59, "o_get_tgroup_1",          inline_(get_tgroup_arg),           inline_(get_tgroup_res)},
        stated("Reads one group of addresses by its groupid.",
            "o_put_tgroup_1 o_get_tgroup_ll_1 o_get_tgroup_llb_1 a_get_tgroup_1")},
    {{ 60, "o_get_tgroup_ll_1",       inline_(get_tgroup_ll_arg),        inline_(get_tgroup_ll_res)},
        stated("Lists the groups of addresses for a user (userh, useru).",
            "o_get_tgroup_llb_1 o_get_tgroup_1 a_get_tgroup_ll_1")},
    {{ 61, "o_del_tgroup_1",          inline_(del_tgroup_arg),           bool_},
        stated("Deletes a group of addresses.",
            "o_put_tgroup_1 a_del_tgroup_1")},
    {{ 62, "o_put_tgroupl_1",         inline_(put_tgroupl_arg),          bool_},
        stated("Writes a member (tbuchid, telid) of a group of addresses.",
            "o_get_tgroupl_ll_1 o_del_tgroupl_1 o_put_tgroup_1 a_put_tgroupl_1")},
    {{ 63, "o_get_tgroupl_ll_1",      inline_(get_tgroupl_ll_arg),       inline_(get_tgroupl_ll_res)},
        stated("Lists the members of a group of addresses; execute is a flag.",
            "o_get_tgroupl_llb_1 o_put_tgroupl_1 o_del_tgroupl_1 a_get_tgroupl_ll_1")},
    {{ 64, "o_del_tgroupl_1",         inline_(del_tgroupl_arg),          bool_},
        stated("Deletes a member (tbuchid, telid) of a group of addresses.",
            "o_put_tgroupl_1 a_del_tgroupl_1")},
    {{ 65, "o_cha_admpw_1",           inline_(cha_admpw_arg),            long_},
        stated("Changes the administration password from oldpw to newpw.",
            "o_check_admpw_1 a_cha_pw_1")},
    {{ 66, "o_check_admpw_1",         chars(21),                         long_},
        stated("Tests the administration password.",
            "o_cha_admpw_1")},
    {{ 67, "o_put_tebu_1",            inline_(put_tebu_arg),             bool_},
        stated("Writes an address book, named by tbuchid, with its owner and permissions.",
            "o_get_tebu_1 o_get_tebu_ll_1 o_del_tebu_1 o_put_tebul_1 a_put_tebu_1")},
    {{ 68, "o_get_tebu_1",            inline_(get_tebu_arg),             inline_(get_tebu_res)},
        stated("Reads one address book by its tbuchid.",
            "o_put_tebu_1 o_get_tebu_ll_1 o_get_tebu_llb_1 o_check_perm_1 a_get_tebu_1")},
    {{ 69, "o_get_tebu_ll_1",         inline_(get_tebu_ll_arg),          inline_(get_tebu_ll_res)},
        stated("Lists the address books for a user (userh, useru).",
            "o_get_tebu_llb_1 o_get_tebu_1 a_get_tebu_ll_1")},
    {{ 70, "o_del_tebu_1",            inline_(del_tebu_arg),             bool_},
        stated("Deletes an address book.",
            "o_put_tebu_1 a_del_tebu_1")},
    {{ 72, "o_put_tebul_1",           inline_(put_tebul_arg),            bool_},
        stated("Writes an entry (telid) of an address book.",
            "o_get_tebul_1 o_get_tebul_ll_1 o_del_tebul_1 a_put_tebul_1")},
    {{ 73, "o_get_tebul_1",           inline_(get_tebul_arg),            inline_(get_tebul_res)},
        stated("Reads one entry (telid) of an address book; execute is a flag.",
            "o_put_tebul_1 o_get_tebul_ll_1 a_get_tebul_1")},
    {{ 74, "o_get_tebul_ll_1",        inline_(get_tebul_ll_arg),         inline_(get_tebul_ll_res)},
        stated("Lists the entries of an address book, in blocks (pos, anz).",
            "o_get_tebul_1 o_put_tebul_1 a_get_tebul_ll_1")},
    {{ 75, "o_del_tebul_1",           inline_(del_tebul_arg),            bool_},
        stated("Deletes an entry (telid) of an address book.",
            "o_put_tebul_1 a_del_tebul_1")},
    {{ 76, "o_check_perm_1",          inline_(check_perm_arg),           bool_},
        from_name("Checks the permission perm of a user on the address book tbuchid.",
            "o_get_tebu_1 a_check_perm_1")},
    {{ 77, "o_check_groupl_1",        inline_(groupl_rec),               bool_},
        from_name("Checks whether a user (alphaid, userid) is a member of a group.",
            "o_get_groupl_ll_1 a_check_groupl_1")},
    {{ 78, "o_get_tgroupl_llb_1",     inline_(get_tgroupl_llb_arg),      inline_(get_tgroupl_llb_res)},
        stated("Lists the members of a group of addresses in blocks (posb, pose, anz).",
            "o_get_tgroupl_ll_1 a_get_tgroupl_llb_1")},
    {{ 79, "o_get_muser_addr_1",      chars(81),                         inline_(get_muser_addr_res)},
        stated("Reads the entry that joins a mail address to a line, by its mailaddr.",
            "o_put_muser_1 o_get_muser_line_1 o_get_muser_addr_ll_1 a_get_muser_addr_1")},
    {{ 80, "o_get_muser_line_1",      chars(11),                         inline_(get_muser_addr_res)},
        stated("Reads the entry that joins a mail address to a line, by its lineid.",
            "o_put_muser_1 o_get_muser_addr_1 o_get_muser_line_ll_1 a_get_muser_line_1")},
    {{ 81, "o_put_muser_1",           inline_(get_muser_addr_res),       bool_},
        stated("Writes an entry that joins a mail address to a line, with lastaccess.",
            "o_get_muser_addr_1 o_get_muser_line_1 o_del_muser_1 o_put_gwuser_1 a_put_muser_1")},
    {{ 82, "o_del_muser_1",           chars(81),                         bool_},
        stated("Deletes the entry that joins a mail address to a line, by its mailaddr.",
            "o_put_muser_1 a_del_muser_1")},
    {{ 83, "o_get_muser_addr_ll_1",   inline_(get_muser_addr_ll_arg),    inline_(get_muser_addr_ll_res)},
        stated("Lists the entries that join a mail address to a line, starting at the mailaddr pos.",
            "o_get_muser_line_ll_1 o_get_muser_addr_1 a_get_muser_addr_ll_1")},
    {{ 84, "o_get_muser_line_ll_1",   inline_(get_muser_line_ll_arg),    inline_(get_muser_addr_ll_res)},
        stated("Lists the entries that join a mail address to a line, starting at the lineid pos.",
            "o_get_muser_addr_ll_1 o_get_muser_line_1 a_get_muser_line_ll_1")},
    {{ 85, "o_get_user_llb_1",        inline_(get_system_userlistb_arg), inline_(get_user_ll_res)},
        stated("Lists the users in blocks (alphaid, userid, anz).",
            "o_get_user_ll_1 a_get_system_userlistb_1")},
    {{ 86, "o_get_tebu_llb_1",        inline_(get_tebu_llb_arg),         inline_(get_tebu_llb_res)},
        stated("Lists the address books for a user in blocks (pos, anz).",
            "o_get_tebu_ll_1 o_get_tebu_1 a_get_tebu_llb_1")},
    {{ 88, "o_get_tgroup_llb_1",      inline_(get_tgroup_llb_arg),       inline_(get_tgroup_llb_res)},
        stated("Lists the groups of addresses for a user in blocks (pos, anz).",
            "o_get_tgroup_ll_1 o_get_tgroup_1 a_get_tgroup_llb_1")},
    {{ 89, "o_lookup_tsi_1",          inline_(lookup_tsi_arg),           inline_(lookup_tsi_res)},
        from_name("Looks up a TSI in the directory phonedir; returns an address book entry.",
            "o_get_tebul_1 o_search_tsi_1 a_lookup_tsi_1")},
    {{ 90, "o_get_reply_addr_1",      inline_(get_reply_addr_arg),       inline_(get_reply_addr_res)},
        stated("Reads a reply address by nettype and tsi, userid and alphaid.",
            "o_put_reply_addr_1 o_get_reply_addr_ll_1 a_get_reply_addr_1")},
    {{ 97, "o_put_gwuser_1",          inline_(put_gwuser_arg),           short_},
        stated("Writes an entry that joins a mail address to a line for a gateway type.",
            "o_get_gwuser_1 o_get_gwuser_ll_1 o_del_gwuser_1 o_put_muser_1 a_put_gwuser_1")},
    {{ 98, "o_del_gwuser_1",          inline_(del_gwuser_arg),           short_},
        stated("Deletes the entry of a mail address for a gateway type.",
            "o_put_gwuser_1 a_del_gwuser_1")},
    {{107, "o_put_reply_addr_1",      inline_(put_reply_addr_arg),       short_},
        stated("Writes a reply address, kept by nettype and tsi.",
            "o_get_reply_addr_1 o_del_reply_addr_1 a_put_reply_addr_1")},
    {{108, "o_del_reply_addr_1",      inline_(del_reply_addr_arg),       short_},
        stated("Deletes a reply address.",
            "o_put_reply_addr_1 a_del_reply_addr_1")},
    {{109, "o_get_reply_addr_ll_1",   inline_(get_reply_addr_ll_arg),    inline_(get_reply_addr_ll_res)},
        from_name("Lists reply addresses, asked for by user, by lastaccess or by barred.",
            "o_get_reply_addr_1 o_put_reply_addr_1 a_get_reply_addr_ll_1")},
    {{111, "o_get_gwuser_ll_1",       inline_(get_gwuser_ll_arg),        inline_(get_gwuser_ll_res)},
        stated("Lists the entries of a gateway type, starting at a mailaddr or a lineid (pos).",
            "o_get_gwuser_1 o_put_gwuser_1 a_get_gwuser_ll_1")},
    {{112, "o_get_gwuser_1",          inline_(get_gwuser_arg),           inline_(get_gwuser_res)},
        stated("Reads the entry of a gateway type, by its mailaddr or its lineid.",
            "o_put_gwuser_1 o_get_gwuser_ll_1 a_get_gwuser_1")},
};

// clang-format on

constexpr auto omega_rows = without_notes(omega_noted);
constexpr procedure_list omega_users = list_of<omega_rows>();
constexpr noted_list omega_users_notes = notes_of(omega_noted);

}  // namespace kvrpc::schema
