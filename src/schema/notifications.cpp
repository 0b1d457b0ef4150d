// Notifications: registering and ending the interest in an event. Nothing here brings one back.
#include "schema/families.h"
#include "schema/notes.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(topf_change,
    {"topf", short_},
);

KVRPC_RECORD(doc_change,
    {"topf",  short_},
    {"faxid", long_},
);

KVRPC_RECORD(board_change,
    {"color", short_},
);

KVRPC_RECORD(logout_msg,
    {"userid", chars(11)},
);

KVRPC_UNION(subscribe_arg_trigger, "selection",
    {0, "errcode",      short_},
    {1, "topf_change",  inline_(topf_change)},
    {2, "doc_change",   inline_(doc_change)},
    {3, "board_change", inline_(board_change)},
    {4, "logout_msg",   inline_(logout_msg)},
);

KVRPC_RECORD(subscribe_arg,
    {"loginid",      long_},
    {"ip_address",   long_},
    {"port",         short_},
    {"notification", short_},
    {"trigger",      inline_(subscribe_arg_trigger)},
);

KVRPC_RECORD(unsubscribe_arg,
    {"loginid",    long_},
    {"ip_address", long_},
    {"port",       short_},
    {"all",        bool_},
    {"trigger",    inline_(subscribe_arg_trigger)},
);

constexpr noted_procedure alpha_noted[] = {
    //    name               argument                  result
    {{114, "a_subscribe_1",   inline_(subscribe_arg),   short_},
        stated("Registers a login to be told of changes; trigger names the event.",
            "a_unsubscribe_1")},
    {{115, "a_unsubscribe_1", inline_(unsubscribe_arg), short_},
        stated("Ends the interest that a_subscribe_1 registered: one trigger, or all.",
            "a_subscribe_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_notifications = list_of<alpha_rows>();
constexpr noted_list alpha_notifications_notes = notes_of(alpha_noted);

}  // namespace kvrpc::schema
