// Sessions and passwords: opening and ending a user's session, and what identifies or authorises
// a user. Later calls that work on a session carry the `loginid` that a login returns.
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_address_books.h"
#include "schema/shared_lines.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

KVRPC_RECORD(login_arg,
    {"userid",  chars(11)},
    {"passwor", chars(21)},
);

KVRPC_RECORD(login_res,
    {"loginid", long_},
    {"err",     long_},
);

KVRPC_RECORD(logout_arg,
    {"userid",  chars(11)},
    {"loginid", long_},
);

KVRPC_RECORD(cha_pw_arg,
    {"userid", chars(11)},
    {"adm",    bool_},
    {"oldpw",  chars(21)},
    {"newpw",  chars(21)},
);

KVRPC_RECORD(put_u_perm_arg,
    {"userid", chars(11)},
    {"admpw",  chars(21)},
    {"allow",  long_},
    {"deny",   long_},
);

KVRPC_RECORD(mult_login_arg,
    {"userid",   chars(11)},
    {"passwor",  chars(21)},
    {"useold",   bool_},
    {"forceold", bool_},
);

KVRPC_RECORD(mult_login_res,
    {"loginid", long_},
    {"err",     long_},
);

KVRPC_RECORD(cha_userid_arg_v0,
    {"loginid", long_},
    {"userid",  chars(11)},
);

KVRPC_UNION(cha_userid_arg, "selection",
    {0, "v0", inline_(cha_userid_arg_v0)},
);

KVRPC_RECORD(init_arg_v0,
    {"runlevel",    short_},
    {"graceperiod", long_},
);

KVRPC_UNION(init_arg, "selection",
    {0, "v0", inline_(init_arg_v0)},
);

constexpr noted_procedure alpha_noted[] = {
    //     name               argument                 result
    {{   1, "a_exit_1",        nothing,                 nothing},
        from_name("Exit command of the server alpha; takes and returns nothing.")},
    {{  11, "a_login_1",       inline_(login_arg),      inline_(login_res)},
        stated("Opens a session: takes userid and passwor, returns a loginid and err.",
            "a_mult_login_1 a_logout_1 a_check_login_1")},
    {{  12, "a_logout_1",      inline_(logout_arg),     nothing},
        stated("Ends a session, named by userid and loginid.",
            "a_login_1 a_check_login_1")},
    {{  55, "a_check_login_1", long_,                   bool_},
        from_name("Checks a loginid and returns true or false.",
            "a_login_1 a_logout_1")},
    {{  70, "a_cha_pw_1",      inline_(cha_pw_arg),     long_},
        stated("Changes a user's password from oldpw to newpw; adm is a flag.",
            "o_cha_admpw_1")},
    {{  71, "a_put_u_perm_1",  inline_(put_u_perm_arg), long_},
        stated("Writes what a user is allowed and denied (allow, deny); carries admpw.",
            "a_get_user_1")},
    {{  75, "a_get_compat_1",  nothing,                 inline_(get_compat_res)},
        from_name("Reads a compatibility range as two numbers, low and high.",
            "o_get_compat_1")},
    {{  91, "a_check_perm_1",  inline_(check_perm_arg), bool_},
        from_name("Checks the permission perm of a user on the address book tbuchid.",
            "a_get_tebu_1 o_check_perm_1")},
    {{ 108, "a_mult_login_1",  inline_(mult_login_arg), inline_(mult_login_res)},
        stated("Opens a session like a_login_1, with the further flags useold and forceold.",
            "a_login_1 a_logout_1")},
    {{ 136, "a_cha_userid_1",  inline_(cha_userid_arg), short_},
        from_name("Changes the userid of the login that loginid names.",
            "a_login_1")},
    {{1011, "a_init_1",        inline_(init_arg),       short_},
        from_name("Init command; takes a runlevel and a grace period.",
            "a_exit_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_sessions = list_of<alpha_rows>();
constexpr noted_list alpha_sessions_notes = notes_of(alpha_noted);

}  // namespace kvrpc::schema
