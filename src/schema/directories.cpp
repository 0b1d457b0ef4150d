// Directories and groups: single addresses (tele), books of them (tebu, tebul), and groups of
// addresses with their members (tgroup, tgroupl).
#include "schema/families.h"
#include "schema/notes.h"
#include "schema/shared_address_books.h"
#include "schema/shared_documents.h"
#include "schema/shared_users.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// The element of a vector.
constexpr wire_type chars_81 = chars(81);

KVRPC_RECORD(get_group_res,
    {"anz",   long_},
    {"first", pointer_to(get_group_res_node)},
);

KVRPC_RECORD(fetch_result_res,
    {"anz",  long_},
    {"hits", pointer_to(get_kzg_res_data)},
);

KVRPC_RECORD(query_tebu_arg,
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"aktpar",  vector_of(chars_81, 10)},
);

constexpr noted_procedure alpha_noted[] = {
    //    name                   argument                      result
    {{ 26, "a_get_tele_1",        long_,                        inline_(get_tele_ll_res)},
        stated("Lists the single address entries; the meaning of its number is not known.",
            "a_search_tele_1 a_put_tele_1 a_del_tele_1 o_get_tele_ll_1")},
    {{ 27, "a_put_tele_1",        inline_(put_tele_arg),        bool_},
        stated("Writes a single address entry, named by telid.",
            "a_search_tele_1 a_get_tele_1 a_del_tele_1 o_put_tele_1")},
    {{ 28, "a_del_tele_1",        chars(11),                    bool_},
        stated("Deletes a single address entry by its telid.",
            "a_put_tele_1 o_del_tele_1")},
    {{ 29, "a_search_tele_1",     chars(11),                    inline_(put_tele_arg)},
        stated("Finds a single address entry by its telid.",
            "a_get_tele_1 a_put_tele_1 o_get_tele_1")},
    {{ 33, "a_get_groups_1",      nothing,                      inline_(get_group_ll_res)},
        from_name("Lists the groups of users, with groupid and comment.",
            "a_get_o_group_1 a_get_group_1 o_get_group_ll_1")},
    {{ 34, "a_get_group_1",       chars(11),                    inline_(get_group_res)},
        from_name("Lists the users of a group, with alphaid, userid and name.",
            "a_get_groups_1 a_check_groupl_1 o_get_group_member_ll_1")},
    {{ 63, "a_put_tgroup_1",      inline_(put_tgroup_arg),      bool_},
        stated("Writes a group of addresses, named by groupid.",
            "a_get_tgroup_1 a_get_tgroup_ll_1 a_del_tgroup_1 a_put_tgroupl_1 o_put_tgroup_1")},
    {{ 64, "a_get_tgroup_1",      inline_(get_tgroup_arg),      inline_(get_tgroup_res)},
        stated("Reads one group of addresses by its groupid.",
            "a_put_tgroup_1 a_get_tgroup_ll_1 a_get_tgroup_llb_1 o_get_tgroup_1")},
    {{ 65, "a_get_tgroup_ll_1",   inline_(get_tgroup_ll_arg),   inline_(get_tgroup_ll_res)},
        stated("Lists the groups of addresses for a user (userh, useru).",
            "a_get_tgroup_llb_1 a_get_tgroup_1 o_get_tgroup_ll_1")},
    {{ 66, "a_del_tgroup_1",      inline_(del_tgroup_arg),      bool_},
        stated("Deletes a group of addresses.",
            "a_put_tgroup_1 o_del_tgroup_1")},
    {{ 67, "a_put_tgroupl_1",     inline_(put_tgroupl_arg),     bool_},
        stated("Writes a member (tbuchid, telid) of a group of addresses.",
            "a_get_tgroupl_ll_1 a_del_tgroupl_1 a_put_tgroup_1 o_put_tgroupl_1")},
    {{ 68, "a_get_tgroupl_ll_1",  inline_(get_tgroupl_ll_arg),  inline_(get_tgroupl_ll_res)},
        stated("Lists the members of a group of addresses; execute is a flag.",
            "a_get_tgroupl_llb_1 a_put_tgroupl_1 a_del_tgroupl_1 o_get_tgroupl_ll_1")},
    {{ 69, "a_del_tgroupl_1",     inline_(del_tgroupl_arg),     bool_},
        stated("Deletes a member (tbuchid, telid) of a group of addresses.",
            "a_put_tgroupl_1 o_del_tgroupl_1")},
    {{ 77, "a_put_tebu_1",        inline_(put_tebu_arg),        bool_},
        stated("Writes an address book, named by tbuchid, with its owner and permissions.",
            "a_get_tebu_1 a_get_tebu_ll_1 a_del_tebu_1 a_put_tebul_1 o_put_tebu_1")},
    {{ 78, "a_get_tebu_1",        inline_(get_tebu_arg),        inline_(get_tebu_res)},
        stated("Reads one address book by its tbuchid.",
            "a_put_tebu_1 a_get_tebu_ll_1 a_get_tebu_llb_1 a_check_perm_1 o_get_tebu_1")},
    {{ 79, "a_get_tebu_ll_1",     inline_(get_tebu_ll_arg),     inline_(get_tebu_ll_res)},
        stated("Lists the address books for a user (userh, useru).",
            "a_get_tebu_llb_1 a_get_tebu_1 o_get_tebu_ll_1")},
    {{ 80, "a_del_tebu_1",        inline_(del_tebu_arg),        bool_},
        stated("Deletes an address book.",
            "a_put_tebu_1 o_del_tebu_1")},
    {{ 81, "a_put_tebul_1",       inline_(put_tebul_arg),       bool_},
        stated("Writes an entry (telid) of an address book.",
            "a_get_tebul_1 a_get_tebul_ll_1 a_del_tebul_1 o_put_tebul_1")},
    {{ 82, "a_get_tebul_1",       inline_(get_tebul_arg),       inline_(get_tebul_res)},
        stated("Reads one entry (telid) of an address book; execute is a flag.",
            "a_put_tebul_1 a_get_tebul_ll_1 o_get_tebul_1")},
    {{ 83, "a_get_tebul_ll_1",    inline_(get_tebul_ll_arg),    inline_(get_tebul_ll_res)},
        stated("Lists the entries of an address book, in blocks (pos, anz).",
            "a_get_tebul_1 a_put_tebul_1 o_get_tebul_ll_1")},
    {{ 84, "a_del_tebul_1",       inline_(del_tebul_arg),       bool_},
        stated("Deletes an entry (telid) of an address book.",
            "a_put_tebul_1 o_del_tebul_1")},
    {{ 88, "a_fetch_result_1",    long_,                        inline_(fetch_result_res)},
        from_name("Fetches the result of a query by its number: a count and a list of hits.",
            "a_query_tebu_1")},
    {{ 90, "a_query_tebu_1",      inline_(query_tebu_arg),      long_},
        stated("Queries an address book with ten values in aktpar; returns a number.",
            "a_fetch_result_1 a_get_tebul_ll_1")},
    {{ 92, "a_check_groupl_1",    inline_(groupl_rec),          bool_},
        from_name("Checks whether a user (alphaid, userid) is a member of a group.",
            "a_get_group_1 o_check_groupl_1")},
    {{ 93, "a_get_tgroupl_llb_1", inline_(get_tgroupl_llb_arg), inline_(get_tgroupl_llb_res)},
        stated("Lists the members of a group of addresses in blocks (posb, pose, anz).",
            "a_get_tgroupl_ll_1 o_get_tgroupl_llb_1")},
    {{102, "a_get_tebu_llb_1",    inline_(get_tebu_llb_arg),    inline_(get_tebu_llb_res)},
        stated("Lists the address books for a user in blocks (pos, anz).",
            "a_get_tebu_ll_1 a_get_tebu_1 o_get_tebu_llb_1")},
    {{104, "a_get_tgroup_llb_1",  inline_(get_tgroup_llb_arg),  inline_(get_tgroup_llb_res)},
        stated("Lists the groups of addresses for a user in blocks (pos, anz).",
            "a_get_tgroup_ll_1 a_get_tgroup_1 o_get_tgroup_llb_1")},
    {{111, "a_lookup_tsi_1",      inline_(lookup_tsi_arg),      inline_(lookup_tsi_res)},
        from_name("Looks up a TSI in the directory phonedir; returns an address book entry.",
            "a_get_tebul_1 o_search_tsi_1 o_lookup_tsi_1")},
    {{150, "a_get_o_group_1",     chars(11),                    inline_(get_o_group_res)},
        from_name("Reads one group of users by its groupid, as the server omega knows it.",
            "a_get_groups_1 a_get_group_1 o_get_group_1")},
};

// clang-format on

constexpr auto alpha_rows = without_notes(alpha_noted);
constexpr procedure_list alpha_directories = list_of<alpha_rows>();
constexpr noted_list alpha_directories_notes = notes_of(alpha_noted);

}  // namespace kvrpc::schema
