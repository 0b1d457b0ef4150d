// A table of keywords, arrays, objects and white space with their trees.
#include "text_case.h"

namespace kvrpc::test {
namespace {

const std::vector<text_case> keywords = {
    {"null", "null", "null"},
    {"true", "true", "true"},
    {"false", "false", "false"},
    {"nullx", "null", "null"},
    {"nullable", "null", "null"},
    {"truefalse", "true", "true"},
    {"falsey", "false", "false"},
    {"nul", "fail"},
    {"tru", "fail"},
    {"fals", "fail"},
    {"True", "fail"},
    {"NULL", "fail"},
    {"False", "fail"},
    {"n", "fail"},
    {"x", "fail"},
    {"[nullx]", "fail"},
    {"[null,true,false]", "[null true false]", "[null, true, false]"},
    {R"({"a":truex})", "fail"},
    {"[null null]", "fail"},
    {"nulll", "null", "null"},
    {"undefined", "fail"},
    {"'a'", "fail"},
    {"[nul]", "fail"},
};

const std::vector<text_case> skipped_bytes = {
    {"", "fail"},
    {" ", "fail"},
    {" \t\r\n", "fail"},
    {" null", "null", "null"},
    {"\001\002null", "null", "null"},
    {"\357\273\277{\"a\":1}", "{'a':1}", R"({"a":1})"},
    {"\303\244 1", "1", "1"},
    {"[\3771\200,\2202\376]", "[1 2]", "[1, 2]"},
    {"{\303\244\"a\"\037:\2401\001}", "{'a':1}", R"({"a":1})"},
    {"\177null", "fail"},
    {"[1\177]", "fail"},
    {"[1 \013\014 2]", "fail"},
    {"\n[\n1\n,\n2\n]\n", "[1 2]", "[1, 2]"},
    {"[1", "fail"},
    {"[1 ", "fail"},
    {"[", "fail"},
    {"{", "fail"},
    {"[\377", "fail"},
    {"\377\377", "fail"},
    {"-\3775", "0", "0"},
    {"[-\377]", "[0]", "[0]"},
    {"nu\377ll", "fail"},
};

const std::vector<text_case> arrays = {
    {"[]", "[]", "[]"},
    {"[ ]", "[]", "[]"},
    {"[\n]", "[]", "[]"},
    {"[1]", "[1]", "[1]"},
    {"[1,2,3]", "[1 2 3]", "[1, 2, 3]"},
    {"[ 1 , 2 ]", "[1 2]", "[1, 2]"},
    {"[1,]", "fail"},
    {"[,1]", "fail"},
    {"[,]", "fail"},
    {"[1,,2]", "fail"},
    {"[1]]", "[1]", "[1]"},
    {"[1}", "fail"},
    {"[[]]", "[[]]", "[[]]"},
    {"[[],[]]", "[[] []]", "[[], []]"},
    {"[[1],[2,[3]]]", "[[1] [2 [3]]]", "[[1], [2, [3]]]"},
    {"[[1]", "fail"},
    {"[[1],", "fail"},
    {"[1,2", "fail"},
    {"[1,", "fail"},
    {"]", "fail"},
    {"[]x", "[]", "[]"},
    {"[1;2]", "fail"},
    {R"(["a",1,null,true,false,[],{}])", "['a' 1 null true false [] {}]",
     R"(["a", 1, null, true, false, [], {}])"},
    {"[1:2]", "fail"},
    {"[[[[[[[[]]]]]]]]", "[[[[[[[[]]]]]]]]", "[[[[[[[[]]]]]]]]"},
    {R"([{},{"a":[]}])", "[{} {'a':[]}]", R"([{}, {"a":[]}])"},
};

const std::vector<text_case> objects = {
    {"{}", "{}", "{}"},
    {"{ }", "{}", "{}"},
    {R"({"a":1})", "{'a':1}", R"({"a":1})"},
    {R"({"a":1} tail)", "{'a':1}", R"({"a":1})"},
    {R"({"a":1,"b":[1,2]})", "{'a':1 'b':[1 2]}", R"({"a":1,"b":[1, 2]})"},
    {R"({"a":1,})", "fail"},
    {R"({,"a":1})", "fail"},
    {"{a:1}", "fail"},
    {R"({"a" 1})", "fail"},
    {R"({"a"})", "fail"},
    {R"({"a":})", "fail"},
    {R"({"a":1 "b":2})", "fail"},
    {R"({"a":1])", "fail"},
    {R"({"a":1)", "fail"},
    {R"({"a":)", "fail"},
    {R"({"a")", "fail"},
    {R"({"a)", "fail"},
    {R"({"a":1,"a":2})", "{'a':1 'a':2}", R"({"a":1,"a":2})"},
    {R"({"x":1,"X":2})", "{'x':1 'X':2}", R"({"x":1,"X":2})"},
    {R"({"":0})", "{'':0}", R"({"":0})"},
    {R"({ "a" : { "b" : null } })", "{'a':{'b':null}}", R"({"a":{"b":null}})"},
    {R"({"a":{"b":{"c":{}}}})", "{'a':{'b':{'c':{}}}}", R"({"a":{"b":{"c":{}}}})"},
    {"{1:2}", "fail"},
    {R"({"a":1}})", "{'a':1}", R"({"a":1})"},
    {"}", "fail"},
    {R"({"a":"b","c":"d"})", "{'a':'b' 'c':'d'}", R"({"a":"b","c":"d"})"},
    {R"({"a":1,"b"})", "fail"},
    {"{null:1}", "fail"},
    {R"({"a":1,2})", "fail"},
    {R"({"a":1:2})", "fail"},
    {R"({"a_login_1":{"userid":"x","passwor":"y"}})", "{'a_login_1':{'userid':'x' 'passwor':'y'}}",
     R"({"a_login_1":{"userid":"x","passwor":"y"}})"},
    {R"({"a"::1})", "fail"},
};

TEST(structure_table, keywords_are_exact_in_case_and_need_no_end) { check(keywords); }

TEST(structure_table, control_and_high_bytes_outside_strings_are_skipped) { check(skipped_bytes); }

TEST(structure_table, arrays_need_a_value_after_each_comma) { check(arrays); }

TEST(structure_table, objects_need_quoted_keys_and_colons) { check(objects); }

}  // namespace
}  // namespace kvrpc::test
