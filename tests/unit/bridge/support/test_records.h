// Records of every shape that the interface has, for tests and fuzz targets.
//
// test_shapes lists them with a sample in the form in which a reply carries it: every member, in
// the record's order, and nothing that the record's code cannot give back.
#pragma once

#include "schema/types.h"

namespace kvrpc::test {

namespace shapes {

using namespace wire;

// clang-format off

inline constexpr structure scalars{"scalars", {
    {"long",   long_},
    {"int",    int_},
    {"u_long", u_long_},
    {"short",  short_},
    {"bool",   bool_},
    {"tail",   short_},
}};

inline constexpr structure texts{"texts", {
    {"name",    chars(11)},
    {"signed",  schars(11)},
    {"dat",     opaque(101)},
    {"text",    text},
    {"comment", text_of(80)},
    {"file",    string},
}};

inline constexpr structure octets{"octets", {
    {"permissions", opaque64(3)},
    {"data",        blob},
    {"id",          long_},
}};

inline constexpr wire_type chars_81 = chars(81);
inline constexpr wire_type chars_3 = chars(3);
inline constexpr wire_type pair_of_chars_3 = vector_of(chars_3, 2);
inline constexpr wire_type texts_inline = inline_(texts);

inline constexpr structure vectors{"vectors", {
    {"aktpar",  vector_of(chars_81, 10)},
    {"hinterg", vector_of(long_, 10)},
    {"flags",   vector_of(bool_, 3)},
    {"nested",  vector_of(pair_of_chars_3, 2)},
    {"records", vector_of(texts_inline, 2)},
}};

inline constexpr structure inner{"inner", {
    {"a", short_},
    {"b", chars(5)},
}};

inline constexpr structure nested{"nested", {
    {"c",  chars(3)},
    {"x",  inline_(inner)},
    {"y",  inline_(inner)},
    {"xs", inline_(texts)},
    {"n",  long_},
}};

inline constexpr structure pointers{"pointers", {
    {"first",  pointer_to(scalars)},
    {"id",     long_},
    {"second", pointer_to(texts)},
    {"third",  pointer_to(nested)},
}};

inline constexpr structure next_first{"next_first", {
    {"next", list_next},
    {"id",   long_},
}};

inline constexpr structure next_middle{"next_middle", {
    {"id",   long_},
    {"next", list_next},
    {"name", chars(11)},
}};

inline constexpr structure next_last{"next_last", {
    {"data", inline_(inner)},
    {"text", text},
    {"next", list_next},
}};

inline constexpr structure list_head{"list_head", {
    {"anz",   long_},
    {"first", pointer_to(next_first)},
    {"other", pointer_to(next_middle)},
    {"data",  pointer_to(next_last)},
}};

inline constexpr structure entry{"entry", {
    {"slot", int_},
    {"cmd",  schars(8)},
    {"dir",  schars(8)},
}};

inline constexpr structure item{"item", {
    {"name", string},
    {"list", pointer_to(next_first)},
}};

inline constexpr structure choice_v0{"choice_v0", {
    {"id", chars(4)},
}};
inline constexpr structure choice_v1{"choice_v1", {
    {"id",   chars(6)},
    {"text", text},
    {"more", pointer_to(next_last)},
}};

inline constexpr choice selected{"selected", "selection", {
    {0, "v0",      inline_(choice_v0)},
    {1, "v1",      inline_(choice_v1)},
    {7, "errcode", long_},
}};

inline constexpr choice versioned{"versioned", "vers", {
    {1, "v1", inline_(choice_v1)},
}};

// A list whose nodes hold everything that owns memory.
inline constexpr structure rich_node{"rich_node", {
    {"next",  list_next},
    {"which", inline_(selected)},
    {"items", array_of(item)},
    {"inner", pointer_to(next_middle)},
    {"data",  blob},
}};

inline constexpr structure everything{"everything", {
    {"list", pointer_to(rich_node)},
    {"vers", inline_(versioned)},
    {"all",  array_of(entry)},
}};

// clang-format on

}  // namespace shapes

struct test_shape {
  const char* name;
  wire_type type;
  const char* sample;
};

inline constexpr test_shape test_shapes[] = {
    {"nothing", wire::nothing, "null"},
    {"long", wire::long_, "-2147483648"},
    {"u_long", wire::u_long_, "4294967295"},
    {"short", wire::short_, "-1"},
    {"bool", wire::bool_, "true"},
    {"chars", wire::chars(11), "\"M\u00fcller\""},
    {"text", wire::text, R"("a text")"},
    {"text_of", wire::text_of(80), R"("cut at 80")"},
    {"blob", wire::blob, R"("AAECAw==")"},
    {"string", wire::string, R"("")"},
    {"scalars", wire::inline_(shapes::scalars),
     R"({"long":-1,"int":2,"u_long":4294967295,"short":-32768,"bool":true,"tail":7})"},
    {"texts", wire::inline_(shapes::texts),
     R"({"name":"0123456789","signed":"","dat":"d","text":"","comment":"c","file":"f/\"\\\n"})"},
    {"octets", wire::inline_(shapes::octets), R"({"permissions":"abcd","data":"","id":3})"},
    {"vectors", wire::inline_(shapes::vectors),
     R"({"aktpar":["0", "1", "2", "3", "4", "5", "6", "7", "8", "9"],)"
     R"("hinterg":[1, 2, 3, 4, 5, 6, 7, 8, 9, 10],"flags":[true, false, true],)"
     R"("nested":[["a", "bb"], ["", "c"]],"records":[)"
     R"({"name":"n","signed":"s","dat":"","text":"t","comment":"","file":""}, )"
     R"({"name":"m","signed":"r","dat":"d","text":"","comment":"c","file":"f"}]})"},
    {"nested", wire::inline_(shapes::nested),
     R"({"c":"cc","x":{"a":1,"b":"bbbb"},"y":{"a":-1,"b":""},)"
     R"("xs":{"name":"n","signed":"s","dat":"d","text":"t","comment":"c","file":"f"},"n":9})"},
    {"pointers", wire::inline_(shapes::pointers),
     R"({"first":{"long":1,"int":2,"u_long":3,"short":4,"bool":false,"tail":5},"id":1,)"
     R"("second":{"name":"n","signed":"s","dat":"d","text":"t","comment":"c","file":"f"},)"
     R"("third":null})"},
    {"next_first", wire::inline_(shapes::next_first),
     R"({"next":{"next":{"next":null,"id":3},"id":2},"id":1})"},
    {"next_middle", wire::inline_(shapes::next_middle),
     R"({"id":1,"next":{"id":2,"next":{"id":3,"next":null,"name":"c"},"name":"b"},"name":"a"})"},
    {"next_last", wire::inline_(shapes::next_last),
     R"({"data":{"a":1,"b":"x"},"text":"1","next":{"data":{"a":2,"b":"y"},"text":"2",)"
     R"("next":null}})"},
    {"list_head", wire::inline_(shapes::list_head),
     R"({"anz":2,"first":{"next":{"next":null,"id":2},"id":1},)"
     R"("other":{"id":1,"next":null,"name":"a"},"data":null})"},
    {"array", wire::array_of(shapes::entry),
     R"([{"slot":1,"cmd":"c","dir":"d"}, {"slot":2,"cmd":"","dir":"/"}])"},
    {"empty_array", wire::array_of(shapes::entry), "[]"},
    {"items", wire::array_of(shapes::item),
     R"([{"name":"a","list":{"next":null,"id":1}}, {"name":"","list":null}])"},
    {"selected_0", wire::inline_(shapes::selected), R"({"selection":0,"v0":{"id":"abc"}})"},
    {"selected_1", wire::inline_(shapes::selected),
     R"({"selection":1,"v1":{"id":"abcde","text":"t","more":{"data":{"a":1,"b":"b"},)"
     R"("text":"tt","next":null}}})"},
    {"selected_7", wire::inline_(shapes::selected), R"({"selection":7,"errcode":-5})"},
    {"versioned", wire::inline_(shapes::versioned),
     R"({"vers":1,"v1":{"id":"a","text":"b","more":null}})"},
    {"everything", wire::inline_(shapes::everything),
     R"({"list":{"next":{"next":null,"which":{"selection":7,"errcode":1},"items":[],)"
     R"("inner":null,"data":""},"which":{"selection":1,"v1":{"id":"i","text":"t","more":null}},)"
     R"("items":[{"name":"n","list":{"next":{"next":null,"id":2},"id":1}}],)"
     R"("inner":{"id":1,"next":{"id":2,"next":null,"name":"b"},"name":"a"},"data":"/w=="},)"
     R"("vers":{"vers":1,"v1":{"id":"","text":"x","more":null}},)"
     R"("all":[{"slot":1,"cmd":"a","dir":"b"}]})"},
};

}  // namespace kvrpc::test
