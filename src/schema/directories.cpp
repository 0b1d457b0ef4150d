// Directories and groups: single addresses (tele), books of them (tebu, tebul), and groups of
// addresses with their members (tgroup, tgroupl).
#include "schema/families.h"
#include "schema/shared_records.h"

namespace kvrpc::schema {

using namespace wire;

// clang-format off

// The item of a vector.
constexpr wire_type chars_81 = chars(81);

constexpr structure get_group_res{"get_group_res", {
    {"anz",   long_},
    {"first", pointer_to(get_group_res_node)},
}};

constexpr structure fetch_result_res{"fetch_result_res", {
    {"anz",  long_},
    {"hits", pointer_to(get_kzg_res_data)},
}};

constexpr structure query_tebu_arg{"query_tebu_arg", {
    {"userh",   chars(36)},
    {"useru",   chars(11)},
    {"tbuchid", chars(11)},
    {"aktpar",  vector_of(chars_81, 10)},
}};

constexpr procedure alpha_rows[] = {
    //    name                   argument                      result
    { 26, "a_get_tele_1",        long_,                        inline_(get_tele_ll_res)},
    { 27, "a_put_tele_1",        inline_(put_tele_arg),        bool_},
    { 28, "a_del_tele_1",        chars(11),                    bool_},
    { 29, "a_search_tele_1",     chars(11),                    inline_(put_tele_arg)},
    { 33, "a_get_groups_1",      nothing,                      inline_(get_group_ll_res)},
    { 34, "a_get_group_1",       chars(11),                    inline_(get_group_res)},
    { 63, "a_put_tgroup_1",      inline_(put_tgroup_arg),      bool_},
    { 64, "a_get_tgroup_1",      inline_(get_tgroup_arg),      inline_(get_tgroup_res)},
    { 65, "a_get_tgroup_ll_1",   inline_(get_tgroup_ll_arg),   inline_(get_tgroup_ll_res)},
    { 66, "a_del_tgroup_1",      inline_(del_tgroup_arg),      bool_},
    { 67, "a_put_tgroupl_1",     inline_(put_tgroupl_arg),     bool_},
    { 68, "a_get_tgroupl_ll_1",  inline_(get_tgroupl_ll_arg),  inline_(get_tgroupl_ll_res)},
    { 69, "a_del_tgroupl_1",     inline_(del_tgroupl_arg),     bool_},
    { 77, "a_put_tebu_1",        inline_(put_tebu_arg),        bool_},
    { 78, "a_get_tebu_1",        inline_(get_tebu_arg),        inline_(get_tebu_res)},
    { 79, "a_get_tebu_ll_1",     inline_(get_tebu_ll_arg),     inline_(get_tebu_ll_res)},
    { 80, "a_del_tebu_1",        inline_(del_tebu_arg),        bool_},
    { 81, "a_put_tebul_1",       inline_(put_tebul_arg),       bool_},
    { 82, "a_get_tebul_1",       inline_(get_tebul_arg),       inline_(get_tebul_res)},
    { 83, "a_get_tebul_ll_1",    inline_(get_tebul_ll_arg),    inline_(get_tebul_ll_res)},
    { 84, "a_del_tebul_1",       inline_(del_tebul_arg),       bool_},
    { 88, "a_fetch_result_1",    long_,                        inline_(fetch_result_res)},
    { 90, "a_query_tebu_1",      inline_(query_tebu_arg),      long_},
    { 92, "a_check_groupl_1",    inline_(groupl_rec),          bool_},
    { 93, "a_get_tgroupl_llb_1", inline_(get_tgroupl_llb_arg), inline_(get_tgroupl_llb_res)},
    {102, "a_get_tebu_llb_1",    inline_(get_tebu_llb_arg),    inline_(get_tebu_llb_res)},
    {104, "a_get_tgroup_llb_1",  inline_(get_tgroup_llb_arg),  inline_(get_tgroup_llb_res)},
    {111, "a_lookup_tsi_1",      inline_(lookup_tsi_arg),      inline_(lookup_tsi_res)},
    {150, "a_get_o_group_1",     chars(11),                    inline_(get_o_group_res)},
};

// clang-format on

constexpr procedure_list alpha_directories = list_of(alpha_rows);

}  // namespace kvrpc::schema
