// Administration of users, groups and directories: the system-wide data of omega, many of whose
// families mirror those of alpha under other numbers.
#include "schema/families.h"
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

constexpr procedure omega_rows[] = {
    //    name                       argument                           result
    {  1, "o_exit_1",                nothing,                           nothing},
    {  2, "o_get_kzg_1",             long_,                             inline_(o_get_kzg_res)},
    {  3, "o_put_user_1",            inline_(put_user_arg),             bool_},
    {  4, "o_get_user_1",            inline_(get_user_arg),             inline_(put_user_arg)},
    {  5, "o_get_user_ll_1",         nothing,                           inline_(get_user_ll_res)},
    {  6, "o_del_user_1",            inline_(del_user_arg),             bool_},
    { 31, "o_put_group_1",           inline_(get_o_group_res),          bool_},
    { 32, "o_get_group_1",           chars(11),                         inline_(get_o_group_res)},
    { 33, "o_get_group_ll_1",        nothing,                           inline_(get_group_ll_res)},
    { 34, "o_del_group_1",           chars(11),                         bool_},
    { 35, "o_put_groupl_1",          inline_(groupl_rec),               bool_},
    { 36, "o_get_groupl_ll_1",       chars(11),                         inline_(get_groupl_ll_res)},
    { 37, "o_del_groupl_1",          inline_(groupl_rec),               bool_},
    { 43, "o_put_tele_1",            inline_(put_tele_arg),             bool_},
    { 44, "o_get_tele_1",            chars(11),                         inline_(put_tele_arg)},
    { 45, "o_get_tele_ll_1",         long_,                             inline_(get_tele_ll_res)},
    { 46, "o_del_tele_1",            chars(11),                         bool_},
    { 47, "o_get_group_member_ll_1", chars(11),                         inline_(get_group_member_ll_res)},
    { 52, "o_check_v_cycle_1",       inline_(check_v_cycle_arg),        bool_},
    { 53, "o_make_verteiler_1",      inline_(make_verteiler_arg),       inline_(make_verteiler_res)},
    { 54, "o_search_tsi_1",          chars(21),                         inline_(put_tele_arg)},
    { 56, "o_search_bar_1",          chars(21),                         inline_(put_user_arg)},
    { 57, "o_put_logins_1",          inline_(put_logins_arg),           bool_},
    { 58, "o_put_tgroup_1",          inline_(put_tgroup_arg),           bool_},
    { 59, "o_get_tgroup_1",          inline_(get_tgroup_arg),           inline_(get_tgroup_res)},
    { 60, "o_get_tgroup_ll_1",       inline_(get_tgroup_ll_arg),        inline_(get_tgroup_ll_res)},
    { 61, "o_del_tgroup_1",          inline_(del_tgroup_arg),           bool_},
    { 62, "o_put_tgroupl_1",         inline_(put_tgroupl_arg),          bool_},
    { 63, "o_get_tgroupl_ll_1",      inline_(get_tgroupl_ll_arg),       inline_(get_tgroupl_ll_res)},
    { 64, "o_del_tgroupl_1",         inline_(del_tgroupl_arg),          bool_},
    { 65, "o_cha_admpw_1",           inline_(cha_admpw_arg),            long_},
    { 66, "o_check_admpw_1",         chars(21),                         long_},
    { 67, "o_put_tebu_1",            inline_(put_tebu_arg),             bool_},
    { 68, "o_get_tebu_1",            inline_(get_tebu_arg),             inline_(get_tebu_res)},
    { 69, "o_get_tebu_ll_1",         inline_(get_tebu_ll_arg),          inline_(get_tebu_ll_res)},
    { 70, "o_del_tebu_1",            inline_(del_tebu_arg),             bool_},
    { 72, "o_put_tebul_1",           inline_(put_tebul_arg),            bool_},
    { 73, "o_get_tebul_1",           inline_(get_tebul_arg),            inline_(get_tebul_res)},
    { 74, "o_get_tebul_ll_1",        inline_(get_tebul_ll_arg),         inline_(get_tebul_ll_res)},
    { 75, "o_del_tebul_1",           inline_(del_tebul_arg),            bool_},
    { 76, "o_check_perm_1",          inline_(check_perm_arg),           bool_},
    { 77, "o_check_groupl_1",        inline_(groupl_rec),               bool_},
    { 78, "o_get_tgroupl_llb_1",     inline_(get_tgroupl_llb_arg),      inline_(get_tgroupl_llb_res)},
    { 79, "o_get_muser_addr_1",      chars(81),                         inline_(get_muser_addr_res)},
    { 80, "o_get_muser_line_1",      chars(11),                         inline_(get_muser_addr_res)},
    { 81, "o_put_muser_1",           inline_(get_muser_addr_res),       bool_},
    { 82, "o_del_muser_1",           chars(81),                         bool_},
    { 83, "o_get_muser_addr_ll_1",   inline_(get_muser_addr_ll_arg),    inline_(get_muser_addr_ll_res)},
    { 84, "o_get_muser_line_ll_1",   inline_(get_muser_line_ll_arg),    inline_(get_muser_addr_ll_res)},
    { 85, "o_get_user_llb_1",        inline_(get_system_userlistb_arg), inline_(get_user_ll_res)},
    { 86, "o_get_tebu_llb_1",        inline_(get_tebu_llb_arg),         inline_(get_tebu_llb_res)},
    { 88, "o_get_tgroup_llb_1",      inline_(get_tgroup_llb_arg),       inline_(get_tgroup_llb_res)},
    { 89, "o_lookup_tsi_1",          inline_(lookup_tsi_arg),           inline_(lookup_tsi_res)},
    { 90, "o_get_reply_addr_1",      inline_(get_reply_addr_arg),       inline_(get_reply_addr_res)},
    { 97, "o_put_gwuser_1",          inline_(put_gwuser_arg),           short_},
    { 98, "o_del_gwuser_1",          inline_(del_gwuser_arg),           short_},
    {107, "o_put_reply_addr_1",      inline_(put_reply_addr_arg),       short_},
    {108, "o_del_reply_addr_1",      inline_(del_reply_addr_arg),       short_},
    {109, "o_get_reply_addr_ll_1",   inline_(get_reply_addr_ll_arg),    inline_(get_reply_addr_ll_res)},
    {111, "o_get_gwuser_ll_1",       inline_(get_gwuser_ll_arg),        inline_(get_gwuser_ll_res)},
    {112, "o_get_gwuser_1",          inline_(get_gwuser_arg),           inline_(get_gwuser_res)},
};

// clang-format on

constexpr procedure_list omega_users = list_of(omega_rows);

}  // namespace kvrpc::schema
