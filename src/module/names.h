// The attribute names and strings that the module passes to the interpreter, interned once.
//
// intern_names must run before anything else in this directory, which the module's exec step does.
// The strings live as long as the process.
#pragma once

#include "module/ref.h"

namespace kvrpc {

struct interned_names {
  PyObject* create;
  PyObject* close;
  PyObject* encode;
  PyObject* verify_call;
  PyObject* utf_8;
  PyObject* message;
  PyObject* clnt_create_error;
};
extern interned_names names;

// Returns false with MemoryError set. Strings that are interned by then stay, and a second call
// goes on after them.
bool intern_names();

}  // namespace kvrpc
