// The records that procedures of more than one family use, each described once.
//
// Everything here is constant; only the families' tables use it. How a table reads stands in
// schema/types.h. A record stands before those that use it.
#pragma once

#include "schema/types.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// The item of a vector.
inline constexpr wire_type chars_31 = chars(31);

inline constexpr structure apply_route_arg{"apply_route_arg", {
    {"lineid",   chars(11)},
    {"absender", chars(21)},
}};

inline constexpr structure apply_route_new_arg_v0{"apply_route_new_arg_v0", {
    {"lineid",   chars(11)},
    {"absender", chars(21)},
}};

inline constexpr structure apply_route_new_arg_v1{"apply_route_new_arg_v1", {
    {"lineid",   chars(21)},
    {"absender", chars(21)},
}};

inline constexpr structure apply_route_new_arg_v2{"apply_route_new_arg_v2", {
    {"lineid",       chars(21)},
    {"absender",     chars(21)},
    {"outselection", int_},
}};

inline constexpr choice apply_route_new_arg{"apply_route_new_arg", "selection", {
    {0, "v0", inline_(apply_route_new_arg_v0)},
    {1, "v1", inline_(apply_route_new_arg_v1)},
    {2, "v2", inline_(apply_route_new_arg_v2)},
}};

inline constexpr structure apply_route_new_res_v0{"apply_route_new_res_v0", {
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
    {"errcode",     short_},
}};

inline constexpr structure apply_route_new_res_v1{"apply_route_new_res_v1", {
    {"routeid",     chars(11)},
    {"comment",     chars(31)},
    {"lineid",      chars(21)},
    {"absender",    chars(21)},
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
    {"errcode",     short_},
}};

inline constexpr choice apply_route_new_res{"apply_route_new_res", "selection", {
    {0, "v0", inline_(apply_route_new_res_v0)},
    {1, "v1", inline_(apply_route_new_res_v1)},
}};

inline constexpr structure apply_route_res{"apply_route_res", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"groupid", chars(11)},
}};

inline constexpr structure check_perm_arg{"check_perm_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"perm",    short_},
}};

inline constexpr structure del_gwuser_arg_v0{"del_gwuser_arg_v0", {
    {"gw_type",  chars(11)},
    {"mailaddr", chars(81)},
}};

inline constexpr choice del_gwuser_arg{"del_gwuser_arg", "selection", {
    {0, "v0", inline_(del_gwuser_arg_v0)},
}};

inline constexpr structure del_reply_addr_arg_v0{"del_reply_addr_arg_v0", {
    {"nettype", short_},
    {"tsi",     chars(21)},
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
}};

inline constexpr choice del_reply_addr_arg{"del_reply_addr_arg", "selection", {
    {0, "v0", inline_(del_reply_addr_arg_v0)},
}};

inline constexpr structure del_tebu_arg{"del_tebu_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
}};

inline constexpr structure del_tebul_arg{"del_tebul_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
}};

inline constexpr structure del_tgroup_arg{"del_tgroup_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
}};

inline constexpr structure del_tgroupl_arg{"del_tgroupl_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
}};

inline constexpr structure faxl_rec{"faxl_rec", {
    {"lineid",   chars(11)},
    {"thetaid",  chars(36)},
    {"alphaid",  chars(36)},
    {"typid",    chars(11)},
    {"linenr",   short_},
    {"boxid",    chars(11)},
    {"localtsi", chars(21)},
    {"postconf", long_},
    {"getamt",   chars(11)},
    {"hwallow",  long_},
    {"res",      long_},
    {"comment",  chars(31)},
    {"reserveh", chars(36)},
    {"reserveu", chars(11)},
    {"timeout",  short_},
    {"device",   chars(31)},
    {"pagewait", short_},
    {"headline", chars(81)},
}};

inline constexpr structure get_compat_res{"get_compat_res", {
    {"low",  long_},
    {"high", long_},
}};

inline constexpr structure gwuser_count{"gwuser_count", {
    {"gw_type",   chars(11)},
    {"max_users", long_},
    {"akt_users", long_},
    {"next",      list_next},
}};

inline constexpr structure get_configdata_new_res_v1{"get_configdata_new_res_v1", {
    {"users",           short_},
    {"hwclass",         short_},
    {"expiration",      long_},
    {"x",               bool_},
    {"barcode",         bool_},
    {"fax",             bool_},
    {"telex",           bool_},
    {"aktusers",        short_},
    {"maxlogins",       short_},
    {"aktlogins",       short_},
    {"maxlines",        short_},
    {"aktlines",        short_},
    {"postscriptlevel", short_},
    {"gwuser_count",    pointer_to(gwuser_count)},
    {"poll_aktdocs",    long_},
    {"poll_maxdocs",    long_},
    {"lic_pager",       bool_},
    {"lic_voice",       bool_},
}};

inline constexpr choice get_configdata_new_res{"get_configdata_new_res", "selection", {
    {1, "v1", inline_(get_configdata_new_res_v1)},
}};

inline constexpr structure get_configdata_res{"get_configdata_res", {
    {"users",      short_},
    {"hwclass",    short_},
    {"expiration", long_},
    {"x",          bool_},
    {"barcode",    bool_},
    {"fax",        bool_},
    {"telex",      bool_},
    {"aktusers",   short_},
    {"maxlogins",  short_},
    {"aktlogins",  short_},
    {"maxlines",   short_},
    {"aktlines",   short_},
}};

inline constexpr structure get_e_rec_res{"get_e_rec_res", {
    {"faxid",    long_},
    {"userid",   chars(11)},
    {"status",   long_},
    {"errstat",  short_},
    {"seiten",   short_},
    {"comment",  chars(31)},
    {"absender", chars(21)},
    {"empfzeit", long_},
    {"dauer",    short_},
    {"lineid",   chars(11)},
    {"abscomm",  chars(31)},
}};

inline constexpr structure get_eb_arg{"get_eb_arg", {
    {"loginid",   long_},
    {"selection", short_},
    {"pos",       long_},
    {"anz",       long_},
}};

inline constexpr structure get_frei_ll_res_node{"get_frei_ll_res_node", {
    {"next", list_next},
    {"data", inline_(faxl_rec)},
}};

inline constexpr structure get_faxl_ll_res{"get_faxl_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_frei_ll_res_node)},
}};

inline constexpr structure get_faxl_new_arg_v0{"get_faxl_new_arg_v0", {
    {"lineid", chars(11)},
}};

inline constexpr structure get_faxl_new_arg_v1{"get_faxl_new_arg_v1", {
    {"lineid",       chars(11)},
    {"outselection", int_},
}};

inline constexpr choice get_faxl_new_arg{"get_faxl_new_arg", "selection", {
    {0, "v0", inline_(get_faxl_new_arg_v0)},
    {1, "v1", inline_(get_faxl_new_arg_v1)},
}};

inline constexpr structure put_faxl_new_arg_v0{"put_faxl_new_arg_v0", {
    {"lineid",                   chars(11)},
    {"thetaid",                  chars(36)},
    {"alphaid",                  chars(36)},
    {"typid",                    chars(11)},
    {"linenr",                   short_},
    {"boxid",                    chars(11)},
    {"localtsi",                 chars(21)},
    {"postconf",                 long_},
    {"external_prefix",          chars(31)},
    {"internal_prefix",          chars(31)},
    {"hwallow",                  long_},
    {"comment",                  chars(31)},
    {"device",                   chars(31)},
    {"headline",                 chars(81)},
    {"mindigits",                short_},
    {"maxdigits",                short_},
    {"delay",                    short_},
    {"skipdigits",               short_},
    {"rcv_prefix",               chars(11)},
    {"chargefactor",             long_},
    {"chargeunit",               chars(11)},
    {"addinfo",                  chars(81)},
    {"scan_reserveh",            chars(36)},
    {"scan_reserveu",            chars(11)},
    {"scan_timeout",             short_},
    {"scan_pagewait",            short_},
    {"scan_res",                 long_},
    {"callingparty",             chars(21)},
    {"callingsubaddr",           chars(21)},
    {"calledparty",              chars(21)},
    {"calledsubaddr",            chars(21)},
    {"voice_max_recording_time", long_},
    {"voice_silence_timeout",    long_},
}};

inline constexpr structure put_faxl_new_arg_v1{"put_faxl_new_arg_v1", {
    {"lineid",                   chars(11)},
    {"thetaid",                  chars(36)},
    {"alphaid",                  chars(36)},
    {"typid",                    chars(11)},
    {"linenr",                   short_},
    {"boxid",                    chars(11)},
    {"localtsi",                 chars(21)},
    {"postconf",                 long_},
    {"external_prefix",          chars(31)},
    {"internal_prefix",          chars(31)},
    {"hwallow",                  long_},
    {"comment",                  chars(31)},
    {"device",                   chars(31)},
    {"headline",                 chars(81)},
    {"mindigits",                short_},
    {"maxdigits",                short_},
    {"delay",                    short_},
    {"skipdigits",               short_},
    {"rcv_prefix",               chars(21)},
    {"chargefactor",             long_},
    {"chargeunit",               chars(11)},
    {"addinfo",                  chars(81)},
    {"scan_reserveh",            chars(36)},
    {"scan_reserveu",            chars(11)},
    {"scan_timeout",             short_},
    {"scan_pagewait",            short_},
    {"scan_res",                 long_},
    {"callingparty",             chars(21)},
    {"callingsubaddr",           chars(21)},
    {"calledparty",              chars(21)},
    {"calledsubaddr",            chars(21)},
    {"voice_max_recording_time", long_},
    {"voice_silence_timeout",    long_},
    {"csi",                      chars(21)},
}};

inline constexpr choice put_faxl_new_arg{"put_faxl_new_arg", "selection", {
    {0, "v0", inline_(put_faxl_new_arg_v0)},
    {1, "v1", inline_(put_faxl_new_arg_v1)},
}};

inline constexpr structure get_faxl_new_res{"get_faxl_new_res", {
    {"data",    inline_(put_faxl_new_arg)},
    {"errcode", short_},
}};

inline constexpr structure get_o_group_res{"get_o_group_res", {
    {"groupid", chars(11)},
    {"comment", chars(31)},
}};

inline constexpr structure get_group_ll_res_node{"get_group_ll_res_node", {
    {"next", list_next},
    {"data", inline_(get_o_group_res)},
}};

inline constexpr structure get_group_ll_res{"get_group_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_group_ll_res_node)},
}};

inline constexpr structure get_group_res_node_data{"get_group_res_node_data", {
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"name",    chars(31)},
}};

inline constexpr structure get_group_res_node{"get_group_res_node", {
    {"next", list_next},
    {"data", inline_(get_group_res_node_data)},
}};

inline constexpr structure get_gwuser_arg_v0{"get_gwuser_arg_v0", {
    {"gw_type",  chars(11)},
    {"mailaddr", chars(81)},
    {"touch",    bool_},
}};

inline constexpr structure get_gwuser_arg_v1{"get_gwuser_arg_v1", {
    {"gw_type", chars(11)},
    {"lineid",  chars(11)},
    {"touch",   bool_},
}};

inline constexpr structure get_gwuser_arg_v2{"get_gwuser_arg_v2", {
    {"gw_type",      chars(11)},
    {"lineid",       chars(21)},
    {"touch",        bool_},
    {"outselection", int_},
}};

inline constexpr structure get_gwuser_arg_v3{"get_gwuser_arg_v3", {
    {"gw_type",      chars(11)},
    {"mailaddr",     chars(81)},
    {"touch",        bool_},
    {"outselection", int_},
}};

inline constexpr choice get_gwuser_arg{"get_gwuser_arg", "selection", {
    {0, "v0", inline_(get_gwuser_arg_v0)},
    {1, "v1", inline_(get_gwuser_arg_v1)},
    {2, "v2", inline_(get_gwuser_arg_v2)},
    {3, "v3", inline_(get_gwuser_arg_v3)},
}};

inline constexpr structure get_gwuser_ll_arg_v0{"get_gwuser_ll_arg_v0", {
    {"gw_type", chars(11)},
    {"pos",     chars(81)},
    {"anz",     long_},
    {"touch",   bool_},
}};

inline constexpr structure get_gwuser_ll_arg_v1{"get_gwuser_ll_arg_v1", {
    {"gw_type", chars(11)},
    {"pos",     chars(11)},
    {"anz",     long_},
    {"touch",   bool_},
}};

inline constexpr structure get_gwuser_ll_arg_v2{"get_gwuser_ll_arg_v2", {
    {"gw_type",      chars(11)},
    {"pos",          chars(21)},
    {"anz",          long_},
    {"outselection", int_},
}};

inline constexpr structure get_gwuser_ll_arg_v3{"get_gwuser_ll_arg_v3", {
    {"gw_type",      chars(11)},
    {"pos",          chars(81)},
    {"anz",          long_},
    {"outselection", int_},
}};

inline constexpr choice get_gwuser_ll_arg{"get_gwuser_ll_arg", "selection", {
    {0, "v0", inline_(get_gwuser_ll_arg_v0)},
    {1, "v1", inline_(get_gwuser_ll_arg_v1)},
    {2, "v2", inline_(get_gwuser_ll_arg_v2)},
    {3, "v3", inline_(get_gwuser_ll_arg_v3)},
}};

inline constexpr structure put_gwuser_arg_v0{"put_gwuser_arg_v0", {
    {"gw_type",    chars(11)},
    {"mailaddr",   chars(81)},
    {"lineid",     chars(11)},
    {"lastaccess", long_},
}};

inline constexpr structure put_gwuser_arg_v1{"put_gwuser_arg_v1", {
    {"gw_type",    chars(11)},
    {"mailaddr",   chars(81)},
    {"lineid",     chars(21)},
    {"lastaccess", long_},
}};

inline constexpr choice put_gwuser_arg{"put_gwuser_arg", "selection", {
    {0, "v0", inline_(put_gwuser_arg_v0)},
    {1, "v1", inline_(put_gwuser_arg_v1)},
}};

inline constexpr structure get_gwuser_ll_res_node{"get_gwuser_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_gwuser_arg)},
}};

inline constexpr structure get_gwuser_ll_res{"get_gwuser_ll_res", {
    {"anz",     long_},
    {"first",   pointer_to(get_gwuser_ll_res_node)},
    {"errcode", short_},
}};

inline constexpr structure get_gwuser_res{"get_gwuser_res", {
    {"data",    inline_(put_gwuser_arg)},
    {"errcode", short_},
}};

inline constexpr structure get_kzg_res_data{"get_kzg_res_data", {
    {"next", list_next},
    {"dat",  opaque(101)},
}};

inline constexpr structure get_muser_addr_ll_arg{"get_muser_addr_ll_arg", {
    {"pos", chars(81)},
    {"anz", long_},
}};

inline constexpr structure get_muser_addr_res{"get_muser_addr_res", {
    {"mailaddr",   chars(81)},
    {"lineid",     chars(11)},
    {"lastaccess", long_},
}};

inline constexpr structure get_muser_addr_ll_res_node{"get_muser_addr_ll_res_node", {
    {"next", list_next},
    {"data", inline_(get_muser_addr_res)},
}};

inline constexpr structure get_muser_addr_ll_res{"get_muser_addr_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_muser_addr_ll_res_node)},
}};

inline constexpr structure get_muser_line_ll_arg{"get_muser_line_ll_arg", {
    {"pos", chars(11)},
    {"anz", long_},
}};

inline constexpr structure printer_rec{"printer_rec", {
    {"printid",  chars(11)},
    {"comment",  chars(31)},
    {"typ",      short_},
    {"piid",     chars(36)},
    {"lpfilter", chars(81)},
    {"paper",    short_},
    {"pgsplit",  short_},
}};

inline constexpr structure get_printer_ll_res_node{"get_printer_ll_res_node", {
    {"next", list_next},
    {"data", inline_(printer_rec)},
}};

inline constexpr structure get_printer_ll_res{"get_printer_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_printer_ll_res_node)},
}};

inline constexpr structure get_printer_llb_arg{"get_printer_llb_arg", {
    {"pos", chars(11)},
    {"anz", long_},
}};

inline constexpr structure get_reply_addr_arg_v0{"get_reply_addr_arg_v0", {
    {"nettype", short_},
    {"tsi",     chars(21)},
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
}};

inline constexpr choice get_reply_addr_arg{"get_reply_addr_arg", "selection", {
    {0, "v0", inline_(get_reply_addr_arg_v0)},
}};

inline constexpr structure get_reply_addr_ll_arg_v0{"get_reply_addr_ll_arg_v0", {
    {"nettype", short_},
    {"tsi",     chars(21)},
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
    {"anz",     long_},
}};

inline constexpr structure get_reply_addr_ll_arg_v1{"get_reply_addr_ll_arg_v1", {
    {"nettype",    short_},
    {"lastaccess", long_},
    {"tsi",        chars(21)},
    {"anz",        long_},
}};

inline constexpr structure get_reply_addr_ll_arg_v2{"get_reply_addr_ll_arg_v2", {
    {"nettype", short_},
    {"barred",  bool_},
    {"tsi",     chars(21)},
    {"anz",     long_},
}};

inline constexpr choice get_reply_addr_ll_arg{"get_reply_addr_ll_arg", "selection", {
    {0, "v0", inline_(get_reply_addr_ll_arg_v0)},
    {1, "v1", inline_(get_reply_addr_ll_arg_v1)},
    {2, "v2", inline_(get_reply_addr_ll_arg_v2)},
}};

inline constexpr structure get_reply_addr_res_data_v0{"get_reply_addr_res_data_v0", {
    {"nettype",    short_},
    {"tsi",        chars(21)},
    {"userid",     chars(11)},
    {"alphaid",    chars(36)},
    {"phone",      chars(31)},
    {"barred",     bool_},
    {"match",      short_},
    {"count",      long_},
    {"lastaccess", long_},
}};

inline constexpr choice get_reply_addr_res_data{"get_reply_addr_res_data", "selection", {
    {0, "v0", inline_(get_reply_addr_res_data_v0)},
}};

inline constexpr structure get_reply_addr_ll_res_node{"get_reply_addr_ll_res_node", {
    {"next", list_next},
    {"data", inline_(get_reply_addr_res_data)},
}};

inline constexpr structure get_reply_addr_ll_res{"get_reply_addr_ll_res", {
    {"anz",     long_},
    {"first",   pointer_to(get_reply_addr_ll_res_node)},
    {"errcode", short_},
}};

inline constexpr structure get_reply_addr_res{"get_reply_addr_res", {
    {"data",    inline_(get_reply_addr_res_data)},
    {"errcode", short_},
}};

inline constexpr structure get_route_new_ll_arg_v0{"get_route_new_ll_arg_v0", {
    {"pos", chars(11)},
    {"anz", long_},
}};

inline constexpr structure get_route_new_ll_arg_v1{"get_route_new_ll_arg_v1", {
    {"pos",          chars(11)},
    {"anz",          long_},
    {"outselection", int_},
}};

inline constexpr choice get_route_new_ll_arg{"get_route_new_ll_arg", "selection", {
    {0, "v0", inline_(get_route_new_ll_arg_v0)},
    {1, "v1", inline_(get_route_new_ll_arg_v1)},
}};

inline constexpr structure put_route_new_arg_v0{"put_route_new_arg_v0", {
    {"routeid",     chars(11)},
    {"comment",     chars(31)},
    {"lineid",      chars(11)},
    {"absender",    chars(21)},
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
}};

inline constexpr structure put_route_new_arg_v1{"put_route_new_arg_v1", {
    {"routeid",     chars(11)},
    {"comment",     chars(31)},
    {"lineid",      chars(21)},
    {"absender",    chars(21)},
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
}};

inline constexpr choice put_route_new_arg{"put_route_new_arg", "selection", {
    {0, "v0", inline_(put_route_new_arg_v0)},
    {1, "v1", inline_(put_route_new_arg_v1)},
}};

inline constexpr structure get_route_new_ll_res_node{"get_route_new_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_route_new_arg)},
}};

inline constexpr structure get_route_new_ll_res{"get_route_new_ll_res", {
    {"anz",     long_},
    {"first",   pointer_to(get_route_new_ll_res_node)},
    {"errcode", short_},
}};

inline constexpr structure get_system_userlistb_arg{"get_system_userlistb_arg", {
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
    {"anz",     long_},
}};

inline constexpr structure get_tebu_arg{"get_tebu_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
}};

inline constexpr structure get_tebu_ll_arg{"get_tebu_ll_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
}};

inline constexpr structure get_tebu_res{"get_tebu_res", {
    {"tbuchid",     chars(11)},
    {"comment",     chars(31)},
    {"ownerh",      chars(36)},
    {"owneru",      chars(11)},
    {"ownerg",      chars(11)},
    {"permissions", opaque64(3)},
    {"tbtyp",       short_},
    {"pars",        vector_of(chars_31, 10)},
    {"shcmd",       chars(81)},
    {"listhead",    chars(81)},
}};

inline constexpr structure get_tebu_ll_res_node{"get_tebu_ll_res_node", {
    {"next", list_next},
    {"data", inline_(get_tebu_res)},
}};

inline constexpr structure get_tebu_ll_res{"get_tebu_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tebu_ll_res_node)},
}};

inline constexpr structure get_tebu_llb_arg{"get_tebu_llb_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"pos",   chars(11)},
    {"anz",   long_},
}};

inline constexpr structure get_tebu_llb_res{"get_tebu_llb_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tebu_ll_res_node)},
}};

inline constexpr structure get_tebul_arg{"get_tebul_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
    {"execute", bool_},
}};

inline constexpr structure get_tebul_ll_arg{"get_tebul_ll_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"auswahl", long_},
    {"pos",     chars(11)},
    {"anz",     long_},
}};

inline constexpr structure get_tebul_res{"get_tebul_res", {
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
    {"comment", chars(31)},
    {"tsi",     chars(21)},
    {"phone",   chars(31)},
    {"intern",  bool_},
    {"nettype", short_},
}};

inline constexpr structure get_tebul_ll_res_node{"get_tebul_ll_res_node", {
    {"next", list_next},
    {"data", inline_(get_tebul_res)},
}};

inline constexpr structure get_tebul_ll_res{"get_tebul_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tebul_ll_res_node)},
}};

inline constexpr structure put_tele_arg{"put_tele_arg", {
    {"telid",   chars(11)},
    {"comment", chars(31)},
    {"tsi",     chars(21)},
    {"phone",   chars(31)},
    {"intern",  bool_},
    {"nettype", short_},
}};

inline constexpr structure get_tele_ll_res_node{"get_tele_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_tele_arg)},
}};

inline constexpr structure get_tele_ll_res{"get_tele_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tele_ll_res_node)},
}};

inline constexpr structure get_tgroup_arg{"get_tgroup_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
}};

inline constexpr structure get_tgroup_ll_arg{"get_tgroup_ll_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
}};

inline constexpr structure get_tgroup_res{"get_tgroup_res", {
    {"groupid",     chars(11)},
    {"comment",     chars(31)},
    {"ownerh",      chars(36)},
    {"owneru",      chars(11)},
    {"ownerg",      chars(11)},
    {"permissions", opaque64(3)},
}};

inline constexpr structure get_tgroup_ll_res_node{"get_tgroup_ll_res_node", {
    {"next", list_next},
    {"data", inline_(get_tgroup_res)},
}};

inline constexpr structure get_tgroup_ll_res{"get_tgroup_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tgroup_ll_res_node)},
}};

inline constexpr structure get_tgroup_llb_arg{"get_tgroup_llb_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"pos",   chars(11)},
    {"anz",   long_},
}};

inline constexpr structure get_tgroup_llb_res{"get_tgroup_llb_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tgroup_ll_res_node)},
}};

inline constexpr structure get_tgroupl_ll_arg{"get_tgroupl_ll_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
    {"execute", bool_},
}};

inline constexpr structure put_tgroupl_arg_data{"put_tgroupl_arg_data", {
    {"groupid", chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
}};

inline constexpr structure get_tgroupl_ll_res_node{"get_tgroupl_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_tgroupl_arg_data)},
}};

inline constexpr structure get_tgroupl_ll_res{"get_tgroupl_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tgroupl_ll_res_node)},
}};

inline constexpr structure get_tgroupl_llb_arg{"get_tgroupl_llb_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
    {"execute", bool_},
    {"posb",    chars(11)},
    {"pose",    chars(11)},
    {"anz",     long_},
}};

inline constexpr structure get_tgroupl_llb_res{"get_tgroupl_llb_res", {
    {"anz",   long_},
    {"first", pointer_to(get_tgroupl_ll_res_node)},
}};

inline constexpr structure put_user_arg{"put_user_arg", {
    {"alphaid",  chars(36)},
    {"userid",   chars(11)},
    {"name",     chars(31)},
    {"vertreth", chars(36)},
    {"vertretu", chars(11)},
    {"kopie",    bool_},
    {"barcode",  chars(21)},
    {"prio",     short_},
}};

inline constexpr structure get_user_ll_res_node{"get_user_ll_res_node", {
    {"next", list_next},
    {"data", inline_(put_user_arg)},
}};

inline constexpr structure get_user_ll_res{"get_user_ll_res", {
    {"anz",   long_},
    {"first", pointer_to(get_user_ll_res_node)},
}};

inline constexpr structure groupl_rec{"groupl_rec", {
    {"groupid", chars(11)},
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
}};

inline constexpr structure lookup_tsi_arg{"lookup_tsi_arg", {
    {"tsi",      chars(21)},
    {"phonedir", chars(11)},
    {"checkall", bool_},
}};

inline constexpr structure lookup_tsi_res{"lookup_tsi_res", {
    {"data",    inline_(get_tebul_res)},
    {"errcode", short_},
}};

inline constexpr structure put_reply_addr_arg_v0{"put_reply_addr_arg_v0", {
    {"nettype",  short_},
    {"tsi",      chars(21)},
    {"userid",   chars(11)},
    {"alphaid",  chars(36)},
    {"direntry", chars(31)},
    {"phone",    chars(31)},
    {"barred",   bool_},
}};

inline constexpr choice put_reply_addr_arg{"put_reply_addr_arg", "selection", {
    {0, "v0", inline_(put_reply_addr_arg_v0)},
}};

inline constexpr structure put_tebu_arg{"put_tebu_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(get_tebu_res)},
}};

inline constexpr structure put_tebul_arg{"put_tebul_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(get_tebul_res)},
}};

inline constexpr structure put_tgroup_arg{"put_tgroup_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(get_tgroup_res)},
}};

inline constexpr structure put_tgroupl_arg{"put_tgroupl_arg", {
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(put_tgroupl_arg_data)},
}};

inline constexpr structure s_rec{"s_rec", {
    {"faxid",    long_},
    {"userid",   chars(11)},
    {"prio",     short_},
    {"status",   long_},
    {"seiten",   short_},
    {"comment",  chars(31)},
    {"crezeit",  long_},
    {"sollzeit", long_},
    {"nachtkz",  bool_},
    {"istzeit",  long_},
    {"dauer",    short_},
    {"seitenok", short_},
    {"nextzeit", long_},
    {"errstat",  short_},
    {"sollrepc", short_},
    {"istrepc",  short_},
    {"empftsi",  chars(21)},
    {"empfnr",   chars(31)},
    {"nettype",  short_},
    {"res",      long_},
}};

inline constexpr structure user_ll{"user_ll", {
    {"next", list_next},
    {"data", chars(11)},
}};

// clang-format on

}  // namespace kvrpc::schema
