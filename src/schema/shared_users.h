// The records of users, groups, gateway users and reply addresses that the procedures of more than
// one family use.
//
// schema/types.h explains how a table reads. A record comes before those that use it.
#pragma once

#include "schema/types.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

inline KVRPC_RECORD(del_gwuser_arg_v0,
    {"gw_type",  chars(11)},
    {"mailaddr", chars(81)},
);

inline KVRPC_UNION(del_gwuser_arg, "selection",
    {0, "v0", inline_(del_gwuser_arg_v0)},
);

inline KVRPC_RECORD(del_reply_addr_arg_v0,
    {"nettype", short_},
    {"tsi",     chars(21)},
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
);

inline KVRPC_UNION(del_reply_addr_arg, "selection",
    {0, "v0", inline_(del_reply_addr_arg_v0)},
);

inline KVRPC_RECORD(get_o_group_res,
    {"groupid", chars(11)},
    {"comment", chars(31)},
);

inline KVRPC_RECORD(get_group_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_o_group_res)},
);

inline KVRPC_RECORD(get_group_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_group_ll_res_node)},
);

inline KVRPC_RECORD(get_group_res_node_data,
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
    {"name",    chars(31)},
);

inline KVRPC_RECORD(get_group_res_node,
    {"next", list_next},
    {"data", inline_(get_group_res_node_data)},
);

inline KVRPC_RECORD(get_gwuser_arg_v0,
    {"gw_type",  chars(11)},
    {"mailaddr", chars(81)},
    {"touch",    bool_},
);

inline KVRPC_RECORD(get_gwuser_arg_v1,
    {"gw_type", chars(11)},
    {"lineid",  chars(11)},
    {"touch",   bool_},
);

inline KVRPC_RECORD(get_gwuser_arg_v2,
    {"gw_type",      chars(11)},
    {"lineid",       chars(21)},
    {"touch",        bool_},
    {"outselection", int_},
);

inline KVRPC_RECORD(get_gwuser_arg_v3,
    {"gw_type",      chars(11)},
    {"mailaddr",     chars(81)},
    {"touch",        bool_},
    {"outselection", int_},
);

inline KVRPC_UNION(get_gwuser_arg, "selection",
    {0, "v0", inline_(get_gwuser_arg_v0)},
    {1, "v1", inline_(get_gwuser_arg_v1)},
    {2, "v2", inline_(get_gwuser_arg_v2)},
    {3, "v3", inline_(get_gwuser_arg_v3)},
);

inline KVRPC_RECORD(get_gwuser_ll_arg_v0,
    {"gw_type", chars(11)},
    {"pos",     chars(81)},
    {"anz",     long_},
    {"touch",   bool_},
);

inline KVRPC_RECORD(get_gwuser_ll_arg_v1,
    {"gw_type", chars(11)},
    {"pos",     chars(11)},
    {"anz",     long_},
    {"touch",   bool_},
);

inline KVRPC_RECORD(get_gwuser_ll_arg_v2,
    {"gw_type",      chars(11)},
    {"pos",          chars(21)},
    {"anz",          long_},
    {"outselection", int_},
);

inline KVRPC_RECORD(get_gwuser_ll_arg_v3,
    {"gw_type",      chars(11)},
    {"pos",          chars(81)},
    {"anz",          long_},
    {"outselection", int_},
);

inline KVRPC_UNION(get_gwuser_ll_arg, "selection",
    {0, "v0", inline_(get_gwuser_ll_arg_v0)},
    {1, "v1", inline_(get_gwuser_ll_arg_v1)},
    {2, "v2", inline_(get_gwuser_ll_arg_v2)},
    {3, "v3", inline_(get_gwuser_ll_arg_v3)},
);

inline KVRPC_RECORD(put_gwuser_arg_v0,
    {"gw_type",    chars(11)},
    {"mailaddr",   chars(81)},
    {"lineid",     chars(11)},
    {"lastaccess", long_},
);

inline KVRPC_RECORD(put_gwuser_arg_v1,
    {"gw_type",    chars(11)},
    {"mailaddr",   chars(81)},
    {"lineid",     chars(21)},
    {"lastaccess", long_},
);

inline KVRPC_UNION(put_gwuser_arg, "selection",
    {0, "v0", inline_(put_gwuser_arg_v0)},
    {1, "v1", inline_(put_gwuser_arg_v1)},
);

inline KVRPC_RECORD(get_gwuser_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_gwuser_arg)},
);

inline KVRPC_RECORD(get_gwuser_ll_res,
    {"anz",     long_},
    {"first",   pointer_to(get_gwuser_ll_res_node)},
    {"errcode", short_},
);

inline KVRPC_RECORD(get_gwuser_res,
    {"data",    inline_(put_gwuser_arg)},
    {"errcode", short_},
);

inline KVRPC_RECORD(get_muser_addr_ll_arg,
    {"pos", chars(81)},
    {"anz", long_},
);

inline KVRPC_RECORD(get_muser_addr_res,
    {"mailaddr",   chars(81)},
    {"lineid",     chars(11)},
    {"lastaccess", long_},
);

inline KVRPC_RECORD(get_muser_addr_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_muser_addr_res)},
);

inline KVRPC_RECORD(get_muser_addr_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_muser_addr_ll_res_node)},
);

inline KVRPC_RECORD(get_muser_line_ll_arg,
    {"pos", chars(11)},
    {"anz", long_},
);

inline KVRPC_RECORD(get_reply_addr_arg_v0,
    {"nettype", short_},
    {"tsi",     chars(21)},
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
);

inline KVRPC_UNION(get_reply_addr_arg, "selection",
    {0, "v0", inline_(get_reply_addr_arg_v0)},
);

inline KVRPC_RECORD(get_reply_addr_ll_arg_v0,
    {"nettype", short_},
    {"tsi",     chars(21)},
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
    {"anz",     long_},
);

inline KVRPC_RECORD(get_reply_addr_ll_arg_v1,
    {"nettype",    short_},
    {"lastaccess", long_},
    {"tsi",        chars(21)},
    {"anz",        long_},
);

inline KVRPC_RECORD(get_reply_addr_ll_arg_v2,
    {"nettype", short_},
    {"barred",  bool_},
    {"tsi",     chars(21)},
    {"anz",     long_},
);

inline KVRPC_UNION(get_reply_addr_ll_arg, "selection",
    {0, "v0", inline_(get_reply_addr_ll_arg_v0)},
    {1, "v1", inline_(get_reply_addr_ll_arg_v1)},
    {2, "v2", inline_(get_reply_addr_ll_arg_v2)},
);

inline KVRPC_RECORD(get_reply_addr_res_data_v0,
    {"nettype",    short_},
    {"tsi",        chars(21)},
    {"userid",     chars(11)},
    {"alphaid",    chars(36)},
    {"phone",      chars(31)},
    {"barred",     bool_},
    {"match",      short_},
    {"count",      long_},
    {"lastaccess", long_},
);

inline KVRPC_UNION(get_reply_addr_res_data, "selection",
    {0, "v0", inline_(get_reply_addr_res_data_v0)},
);

inline KVRPC_RECORD(get_reply_addr_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_reply_addr_res_data)},
);

inline KVRPC_RECORD(get_reply_addr_ll_res,
    {"anz",     long_},
    {"first",   pointer_to(get_reply_addr_ll_res_node)},
    {"errcode", short_},
);

inline KVRPC_RECORD(get_reply_addr_res,
    {"data",    inline_(get_reply_addr_res_data)},
    {"errcode", short_},
);

inline KVRPC_RECORD(get_system_userlistb_arg,
    {"userid",  chars(11)},
    {"alphaid", chars(36)},
    {"anz",     long_},
);

inline KVRPC_RECORD(put_user_arg,
    {"alphaid",  chars(36)},
    {"userid",   chars(11)},
    {"name",     chars(31)},
    {"vertreth", chars(36)},
    {"vertretu", chars(11)},
    {"kopie",    bool_},
    {"barcode",  chars(21)},
    {"prio",     short_},
);

inline KVRPC_RECORD(get_user_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_user_arg)},
);

inline KVRPC_RECORD(get_user_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_user_ll_res_node)},
);

inline KVRPC_RECORD(groupl_rec,
    {"groupid", chars(11)},
    {"alphaid", chars(36)},
    {"userid",  chars(11)},
);

inline KVRPC_RECORD(put_reply_addr_arg_v0,
    {"nettype",  short_},
    {"tsi",      chars(21)},
    {"userid",   chars(11)},
    {"alphaid",  chars(36)},
    {"direntry", chars(31)},
    {"phone",    chars(31)},
    {"barred",   bool_},
);

inline KVRPC_UNION(put_reply_addr_arg, "selection",
    {0, "v0", inline_(put_reply_addr_arg_v0)},
);

inline KVRPC_RECORD(user_ll,
    {"next", list_next},
    {"data", chars(11)},
);

// clang-format on

}  // namespace kvrpc::schema
