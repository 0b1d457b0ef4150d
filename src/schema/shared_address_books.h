// The records of telephone books, their entries and their groups that the procedures of more than
// one family use.
//
// schema/types.h explains how a table reads. A record comes before those that use it.
#pragma once

#include "schema/types.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// The element of a vector.
inline constexpr wire_type chars_31 = chars(31);

inline KVRPC_RECORD(check_perm_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"perm",    short_},
);

inline KVRPC_RECORD(del_tebu_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
);

inline KVRPC_RECORD(del_tebul_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
);

inline KVRPC_RECORD(del_tgroup_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
);

inline KVRPC_RECORD(del_tgroupl_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
);

inline KVRPC_RECORD(get_tebu_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
);

inline KVRPC_RECORD(get_tebu_ll_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
);

inline KVRPC_RECORD(get_tebu_res,
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
);

inline KVRPC_RECORD(get_tebu_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_tebu_res)},
);

inline KVRPC_RECORD(get_tebu_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_tebu_ll_res_node)},
);

inline KVRPC_RECORD(get_tebu_llb_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"pos",   chars(11)},
    {"anz",   long_},
);

inline KVRPC_RECORD(get_tebu_llb_res,
    {"anz",   long_},
    {"first", pointer_to(get_tebu_ll_res_node)},
);

inline KVRPC_RECORD(get_tebul_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
    {"execute", bool_},
);

inline KVRPC_RECORD(get_tebul_ll_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"auswahl", long_},
    {"pos",     chars(11)},
    {"anz",     long_},
);

inline KVRPC_RECORD(get_tebul_res,
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
    {"comment", chars(31)},
    {"tsi",     chars(21)},
    {"phone",   chars(31)},
    {"intern",  bool_},
    {"nettype", short_},
);

inline KVRPC_RECORD(get_tebul_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_tebul_res)},
);

inline KVRPC_RECORD(get_tebul_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_tebul_ll_res_node)},
);

inline KVRPC_RECORD(put_tele_arg,
    {"telid",   chars(11)},
    {"comment", chars(31)},
    {"tsi",     chars(21)},
    {"phone",   chars(31)},
    {"intern",  bool_},
    {"nettype", short_},
);

inline KVRPC_RECORD(get_tele_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_tele_arg)},
);

inline KVRPC_RECORD(get_tele_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_tele_ll_res_node)},
);

inline KVRPC_RECORD(get_tgroup_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
);

inline KVRPC_RECORD(get_tgroup_ll_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
);

inline KVRPC_RECORD(get_tgroup_res,
    {"groupid",     chars(11)},
    {"comment",     chars(31)},
    {"ownerh",      chars(36)},
    {"owneru",      chars(11)},
    {"ownerg",      chars(11)},
    {"permissions", opaque64(3)},
);

inline KVRPC_RECORD(get_tgroup_ll_res_node,
    {"next", list_next},
    {"data", inline_(get_tgroup_res)},
);

inline KVRPC_RECORD(get_tgroup_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_tgroup_ll_res_node)},
);

inline KVRPC_RECORD(get_tgroup_llb_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"pos",   chars(11)},
    {"anz",   long_},
);

inline KVRPC_RECORD(get_tgroup_llb_res,
    {"anz",   long_},
    {"first", pointer_to(get_tgroup_ll_res_node)},
);

inline KVRPC_RECORD(get_tgroupl_ll_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
    {"execute", bool_},
);

inline KVRPC_RECORD(put_tgroupl_arg_data,
    {"groupid", chars(11)},
    {"tbuchid", chars(11)},
    {"telid",   chars(11)},
);

inline KVRPC_RECORD(get_tgroupl_ll_res_node,
    {"next", list_next},
    {"data", inline_(put_tgroupl_arg_data)},
);

inline KVRPC_RECORD(get_tgroupl_ll_res,
    {"anz",   long_},
    {"first", pointer_to(get_tgroupl_ll_res_node)},
);

inline KVRPC_RECORD(get_tgroupl_llb_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"groupid", chars(11)},
    {"execute", bool_},
    {"posb",    chars(11)},
    {"pose",    chars(11)},
    {"anz",     long_},
);

inline KVRPC_RECORD(get_tgroupl_llb_res,
    {"anz",   long_},
    {"first", pointer_to(get_tgroupl_ll_res_node)},
);

inline KVRPC_RECORD(lookup_tsi_arg,
    {"tsi",      chars(21)},
    {"phonedir", chars(11)},
    {"checkall", bool_},
);

inline KVRPC_RECORD(lookup_tsi_res,
    {"data",    inline_(get_tebul_res)},
    {"errcode", short_},
);

inline KVRPC_RECORD(put_tebu_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(get_tebu_res)},
);

inline KVRPC_RECORD(put_tebul_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(get_tebul_res)},
);

inline KVRPC_RECORD(put_tgroup_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(get_tgroup_res)},
);

inline KVRPC_RECORD(put_tgroupl_arg,
    {"userh", chars(36)},
    {"useru", chars(11)},
    {"data",  inline_(put_tgroupl_arg_data)},
);

// clang-format on

}  // namespace kvrpc::schema
