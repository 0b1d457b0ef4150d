// Users and user settings: users, their named settings (usrconf), their mail addresses (muser),
// gateways (gwuser) and reply addresses (reply_addr).
#include "schema/families.h"
#include "schema/shared_records.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

constexpr structure user_rec{"user_rec", {
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
}};

constexpr structure get_o_user_arg{"get_o_user_arg", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
}};

constexpr structure check_cycle_arg{"check_cycle_arg", {
    {"userid",   chars(11)},
    {"vertreth", chars(36)},
    {"vertretu", chars(11)},
}};

constexpr structure usrconf_rec{"usrconf_rec", {
    {"userid", chars(11)},
    {"name",   chars(11)},
}};

constexpr structure put_usrconf_arg{"put_usrconf_arg", {
    {"userid",  chars(11)},
    {"name",    chars(11)},
    {"content", chars(81)},
}};

constexpr structure get_usrconf_ll_arg{"get_usrconf_ll_arg", {
    {"userid",    chars(11)},
    {"pos",       chars(11)},
    {"anz",       long_},
    {"user_only", bool_},
}};

constexpr structure get_usrconf_ll_res_node{"get_usrconf_ll_res_node", {
    {"next",    list_next},
    {"userid",  chars(11)},
    {"name",    chars(11)},
    {"content", chars(81)},
}};

constexpr structure get_usrconf_ll_res{"get_usrconf_ll_res", {
    {"first",   pointer_to(get_usrconf_ll_res_node)},
    {"anz",     long_},
    {"errcode", short_},
}};

constexpr structure usrconf_new_rec_v1{"usrconf_new_rec_v1", {
    {"userid", chars(11)},
    {"name",   chars(31)},
}};

constexpr choice usrconf_new_rec{"usrconf_new_rec", "selection", {
    {1, "v1", inline_(usrconf_new_rec_v1)},
}};

constexpr structure get_usrconf_new_res{"get_usrconf_new_res", {
    {"errcode", short_},
    {"content", chars(81)},
}};

constexpr structure put_usrconf_new_arg_v1{"put_usrconf_new_arg_v1", {
    {"userid",  chars(11)},
    {"name",    chars(31)},
    {"content", chars(81)},
}};

constexpr choice put_usrconf_new_arg{"put_usrconf_new_arg", "selection", {
    {1, "v1", inline_(put_usrconf_new_arg_v1)},
}};

constexpr structure get_usrconf_new_ll_arg_v1{"get_usrconf_new_ll_arg_v1", {
    {"userid",    chars(11)},
    {"pos",       chars(31)},
    {"anz",       long_},
    {"user_only", bool_},
}};

constexpr choice get_usrconf_new_ll_arg{"get_usrconf_new_ll_arg", "selection", {
    {1, "v1", inline_(get_usrconf_new_ll_arg_v1)},
}};

constexpr structure get_usrconf_new_ll_res_node{"get_usrconf_new_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_usrconf_new_arg)},
}};

constexpr structure get_usrconf_new_ll_res{"get_usrconf_new_ll_res", {
    {"errcode", short_},
    {"anz",     long_},
    {"first",   pointer_to(get_usrconf_new_ll_res_node)},
}};

constexpr procedure alpha_rows[] = {
    //    name                        argument                           result
    { 30, "a_get_user_1",             chars(11),                         inline_(user_rec)},
    { 31, "a_put_user_1",             inline_(user_rec),                 bool_},
    { 32, "a_get_system_userlist_1",  nothing,                           inline_(get_user_ll_res)},
    { 35, "a_get_o_user_1",           inline_(get_o_user_arg),           inline_(put_user_arg)},
    { 49, "a_del_user_1",             chars(11),                         bool_},
    { 50, "a_put_o_user_1",           inline_(put_user_arg),             bool_},
    { 51, "a_check_cycle_1",          inline_(check_cycle_arg),          bool_},
    { 95, "a_get_muser_addr_1",       chars(81),                         inline_(get_muser_addr_res)},
    { 96, "a_get_muser_line_1",       chars(11),                         inline_(get_muser_addr_res)},
    { 97, "a_put_muser_1",            inline_(get_muser_addr_res),       bool_},
    { 98, "a_del_muser_1",            chars(81),                         bool_},
    { 99, "a_get_muser_addr_ll_1",    inline_(get_muser_addr_ll_arg),    inline_(get_muser_addr_ll_res)},
    {100, "a_get_muser_line_ll_1",    inline_(get_muser_line_ll_arg),    inline_(get_muser_addr_ll_res)},
    {101, "a_get_system_userlistb_1", inline_(get_system_userlistb_arg), inline_(get_user_ll_res)},
    {105, "a_get_usrconf_1",          inline_(usrconf_rec),              chars(81)},
    {106, "a_put_usrconf_1",          inline_(put_usrconf_arg),          bool_},
    {107, "a_del_usrconf_1",          inline_(usrconf_rec),              bool_},
    {110, "a_get_reply_addr_1",       inline_(get_reply_addr_arg),       inline_(get_reply_addr_res)},
    {112, "a_get_usrconf_ll_1",       inline_(get_usrconf_ll_arg),       inline_(get_usrconf_ll_res)},
    {120, "a_put_gwuser_1",           inline_(put_gwuser_arg),           short_},
    {121, "a_del_gwuser_1",           inline_(del_gwuser_arg),           short_},
    {126, "a_put_reply_addr_1",       inline_(put_reply_addr_arg),       short_},
    {127, "a_del_reply_addr_1",       inline_(del_reply_addr_arg),       short_},
    {128, "a_get_reply_addr_ll_1",    inline_(get_reply_addr_ll_arg),    inline_(get_reply_addr_ll_res)},
    {133, "a_get_gwuser_ll_1",        inline_(get_gwuser_ll_arg),        inline_(get_gwuser_ll_res)},
    {134, "a_get_gwuser_1",           inline_(get_gwuser_arg),           inline_(get_gwuser_res)},
    {143, "a_del_usrconf_new_1",      inline_(usrconf_new_rec),          bool_},
    {144, "a_get_usrconf_new_1",      inline_(usrconf_new_rec),          inline_(get_usrconf_new_res)},
    {145, "a_put_usrconf_new_1",      inline_(put_usrconf_new_arg),      bool_},
    {146, "a_get_usrconf_new_ll_1",   inline_(get_usrconf_new_ll_arg),   inline_(get_usrconf_new_ll_res)},
};

// clang-format on

constexpr procedure_list alpha_users = list_of(alpha_rows);

}  // namespace kvrpc::schema
