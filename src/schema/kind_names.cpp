// The names of the wire kinds. Separate from the tables, because only kvrpc-schema prints them.
#include "schema/types.h"

namespace kvrpc {

const char* wire_kind_name(wire_kind kind) {
  switch (kind) {
    case wire_kind::nothing:
      return "nothing";
    case wire_kind::long_:
      return "long";
    case wire_kind::int_:
      return "int";
    case wire_kind::u_long_:
      return "u_long";
    case wire_kind::short_:
      return "short";
    case wire_kind::bool_:
      return "bool";
    case wire_kind::chars:
      return "chars";
    case wire_kind::schars:
      return "schars";
    case wire_kind::text:
      return "text";
    case wire_kind::counted_text:
      return "counted_text";
    case wire_kind::fixed_text:
      return "fixed_text";
    case wire_kind::opaque:
      return "opaque";
    case wire_kind::blob:
      return "blob";
    case wire_kind::string:
      return "string";
    case wire_kind::pointer:
      return "pointer";
    case wire_kind::list_next:
      return "list_next";
    case wire_kind::vector:
      return "vector";
    case wire_kind::array:
      return "array";
    case wire_kind::record:
      return "record";
    case wire_kind::unspecified:
      return "unspecified";
  }
  return "";
}

}  // namespace kvrpc
