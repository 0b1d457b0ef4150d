// The module's two exception classes.
//
// `ClntCreateError()` sets `message` to the reason of the last failed creation. Its `args` stay
// empty.
//
// Compatibility: `ClntRpcError` is never raised, and its method `__init__self` is no constructor,
// so `ClntRpcError("x")` behaves as a plain Exception and sets no `message`. Scripts import the
// class, so it stays. Do not fix.
#pragma once

#include "module/ref.h"

namespace kvrpc {

// Makes both classes and adds them to the module. Returns false with an exception set.
bool add_exceptions(PyObject* module);

// Raises `ClntCreateError()`. Looks the class up in the module's globals each time, because a
// script may have replaced it there.
void raise_clnt_create_error();

// Must be asked before code that may run code of the script, which may come back here. Returns
// false with RecursionError set if the thread has little stack left. The interpreter's own limit
// counts calls, and knows neither how much stack one takes nor how much there is.
bool has_stack();

}  // namespace kvrpc
