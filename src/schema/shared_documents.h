// The records of documents that the procedures of more than one family use: a document's entry, a
// sent document, a short line of text.
//
// schema/types.h explains how a table reads. A record comes before those that use it.
#pragma once

#include "schema/types.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

inline KVRPC_RECORD(get_e_rec_res,
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
);

inline KVRPC_RECORD(get_eb_arg,
    {"loginid",   long_},
    {"selection", short_},
    {"pos",       long_},
    {"anz",       long_},
);

inline KVRPC_RECORD(get_kzg_res_data,
    {"next", list_next},
    {"dat",  opaque(101)},
);

inline KVRPC_RECORD(s_rec,
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
);

// clang-format on

}  // namespace kvrpc::schema
