// Interns the strings of names.h.
#include "module/names.h"

namespace kvrpc {

interned_names names;

bool intern_names() {
  struct row {
    PyObject** string;
    const char* text;
  };
  const row rows[] = {
      {&names.create, "create"},
      {&names.close, "close"},
      {&names.encode, "encode"},
      {&names.verify_call, "verify_call"},
      {&names.utf_8, "utf-8"},
      {&names.message, "message"},
      {&names.clnt_create_error, "ClntCreateError"},
  };
  for (const row& each : rows) {
    if (*each.string == nullptr) *each.string = PyUnicode_InternFromString(each.text);
    if (*each.string == nullptr) return false;
  }
  return true;
}

}  // namespace kvrpc
