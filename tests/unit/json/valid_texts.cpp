// Fifty valid texts of every kind, for the tests of parsing, printing and copying.
#include "json_support.h"

namespace kvrpc::test {

const std::vector<std::string>& valid_texts() {
  static const std::vector<std::string> texts = {
      "null",
      "true",
      "false",
      "0",
      "-1",
      "9223372036854775807",
      "-9223372036854775808",
      "123456789012345678901234567890",
      "1.5",
      "-0.25",
      "6.02e23",
      "1E-7",
      "1e+400",
      "12.",
      R"("")",
      R"("plain text of some length, longer than one word of eight")",
      R"("quote \" backslash \\ slash \/")",
      R"("\b\f\n\r\t")",
      R"("\u0041\u00e9\u20ac")",
      R"("\ud83d\ude00")",
      R"("\u0000 behind")",
      "\"\xC3\xA4\xC3\xB6\xC3\xBC\"",
      "\"cut by a line feed\n",
      R"("\u12"swallowed")",
      "[]",
      "[ ]",
      "[1]",
      "[1,2,3]",
      "[-1, 0.5, 1e3, 0]",
      R"(["a","b","c"])",
      "[null,true,false]",
      "[[],[[]],[[[]]]]",
      "[[1,2],[3,4],[5,[6,[7]]]]",
      "{}",
      "{ }",
      R"({"a":1})",
      R"({"a":1,"b":2,"c":3})",
      R"({"a":{"b":{"c":{"d":null}}}})",
      R"({"a":[1,2,{"b":[3,4]}]})",
      R"({"a":1,"a":2,"A":3})",
      R"({"":"","\u0061":"\n"})",
      R"({ "blank" : [ 1 , 2 ] , "other" : { } })",
      "\t{\n\t\"tab\":\t1\n}\n",
      "\xEF\xBB\xBF{\"a\":1}",
      R"({"a_login_1":{"userid":"meier","passwor":"x\"y","flags":[1,0]}})",
      R"({"l_get_status_1":null})",
      R"({"l_startserver_1":"alpha"} and more behind)",
      R"([{"id":1,"name":"one"},{"id":2,"name":"two"},{"id":3,"name":"three"}])",
      R"({"liste":[{"nr":1,"next":{"nr":2,"next":{"nr":3,"next":null}}}]})",
      R"([1.5,"a\u00e9b",{"k":[true,{"x":-0}]},[],{},null,12345678901234567890])",
  };
  return texts;
}

}  // namespace kvrpc::test
