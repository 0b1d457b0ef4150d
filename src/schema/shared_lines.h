// The records of fax lines, routes, printers and the system's configuration that the procedures of
// more than one family use.
//
// schema/types.h explains how a table reads. A record comes before those that use it.
#pragma once

#include "schema/types.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

inline KVRPC_RECORD(apply_route_arg,
    {"lineid",   chars(11)},
    {"absender", chars(21)},
);

inline KVRPC_RECORD(apply_route_new_arg_v0,
    {"lineid",   chars(11)},
    {"absender", chars(21)},
);

inline KVRPC_RECORD(apply_route_new_arg_v1,
    {"lineid",   chars(21)},
    {"absender", chars(21)},
);

inline KVRPC_RECORD(apply_route_new_arg_v2,
    {"lineid",       chars(21)},
    {"absender",     chars(21)},
    {"outselection", int_},
);

inline KVRPC_UNION(apply_route_new_arg, "selection",
    {0, "v0", inline_(apply_route_new_arg_v0)},
    {1, "v1", inline_(apply_route_new_arg_v1)},
    {2, "v2", inline_(apply_route_new_arg_v2)},
);

inline KVRPC_RECORD(apply_route_new_res_v0,
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
    {"errcode",     short_},
);

inline KVRPC_RECORD(apply_route_new_res_v1,
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
);

inline KVRPC_UNION(apply_route_new_res, "selection",
    {0, "v0", inline_(apply_route_new_res_v0)},
    {1, "v1", inline_(apply_route_new_res_v1)},
);

inline KVRPC_RECORD(apply_route_res,
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"groupid", chars(11)},
);

inline KVRPC_RECORD(faxl_rec,
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
);

inline KVRPC_RECORD(get_compat_res,
    {"low",  long_},
    {"high", long_},
);

inline KVRPC_RECORD(gwuser_count,
    {"gw_type",   chars(11)},
    {"max_users", long_},
    {"akt_users", long_},
    {"next",      list_next},
);

inline KVRPC_RECORD(get_configdata_new_res_v1,
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
);

inline KVRPC_UNION(get_configdata_new_res, "selection",
    {1, "v1", inline_(get_configdata_new_res_v1)},
);

inline KVRPC_RECORD(get_configdata_res,
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
);

inline KVRPC_RECORD(get_frei_ll_res_node,
    {"next", list_next},
    {"data", inline_(faxl_rec)},
);

inline KVRPC_RECORD(get_faxl_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_frei_ll_res_node)},
);

inline KVRPC_RECORD(get_faxl_new_arg_v0,
    {"lineid", chars(11)},
);

inline KVRPC_RECORD(get_faxl_new_arg_v1,
    {"lineid",       chars(11)},
    {"outselection", int_},
);

inline KVRPC_UNION(get_faxl_new_arg, "selection",
    {0, "v0", inline_(get_faxl_new_arg_v0)},
    {1, "v1", inline_(get_faxl_new_arg_v1)},
);

inline KVRPC_RECORD(put_faxl_new_arg_v0,
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
);

inline KVRPC_RECORD(put_faxl_new_arg_v1,
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
);

inline KVRPC_UNION(put_faxl_new_arg, "selection",
    {0, "v0", inline_(put_faxl_new_arg_v0)},
    {1, "v1", inline_(put_faxl_new_arg_v1)},
);

inline KVRPC_RECORD(get_faxl_new_res,
    {"data",    inline_(put_faxl_new_arg)},
    {"errcode", short_},
);

inline KVRPC_RECORD(printer_rec,
    {"printid",  chars(11)},
    {"comment",  chars(31)},
    {"typ",      short_},
    {"piid",     chars(36)},
    {"lpfilter", chars(81)},
    {"paper",    short_},
    {"pgsplit",  short_},
);

inline KVRPC_RECORD(get_printer_ll_res_node,
    {"next", list_next},
    {"data", inline_(printer_rec)},
);

inline KVRPC_RECORD(get_printer_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_printer_ll_res_node)},
);

inline KVRPC_RECORD(get_printer_llb_arg,
    {"pos", chars(11)},
    {"anz", long_},
);

inline KVRPC_RECORD(get_route_new_ll_arg_v0,
    {"pos", chars(11)},
    {"anz", long_},
);

inline KVRPC_RECORD(get_route_new_ll_arg_v1,
    {"pos",          chars(11)},
    {"anz",          long_},
    {"outselection", int_},
);

inline KVRPC_UNION(get_route_new_ll_arg, "selection",
    {0, "v0", inline_(get_route_new_ll_arg_v0)},
    {1, "v1", inline_(get_route_new_ll_arg_v1)},
);

inline KVRPC_RECORD(put_route_new_arg_v0,
    {"routeid",     chars(11)},
    {"comment",     chars(31)},
    {"lineid",      chars(11)},
    {"absender",    chars(21)},
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
);

inline KVRPC_RECORD(put_route_new_arg_v1,
    {"routeid",     chars(11)},
    {"comment",     chars(31)},
    {"lineid",      chars(21)},
    {"absender",    chars(21)},
    {"alphaid",     chars(36)},
    {"userid",      chars(11)},
    {"groupid",     chars(11)},
    {"pollalphaid", chars(36)},
    {"pollfaxid",   long_},
);

inline KVRPC_UNION(put_route_new_arg, "selection",
    {0, "v0", inline_(put_route_new_arg_v0)},
    {1, "v1", inline_(put_route_new_arg_v1)},
);

inline KVRPC_RECORD(get_route_new_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_route_new_arg)},
);

inline KVRPC_RECORD(get_route_new_ll_res,
    {"anz",     long_},
    {"first",   pointer_to(get_route_new_ll_res_node)},
    {"errcode", short_},
);

// clang-format on

}  // namespace kvrpc::schema
