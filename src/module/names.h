// The attribute names and texts that the module hands to the interpreter, interned once.
//
// intern_names runs in the module's exec step, before anything else here is used; the strings stay
// for the life of the process.
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

// False with an exception pending when memory is out; what is interned by then stays.
bool intern_names();

}  // namespace kvrpc
