// The module's two exception classes.
//
// `ClntCreateError()` takes the reason of the last failed creation into `message`, and leaves its
// `args` empty. `ClntRpcError` is never raised here and its one method has no constructor's name,
// so that it behaves as a plain Exception: scripts import it, and that is all it is for.
#pragma once

#include "module/ref.h"

namespace kvrpc {

// Makes both classes and publishes them in the module; false with an exception pending.
bool add_exceptions(PyObject* module);

// Raises `ClntCreateError()`, the class being whatever the module's globals hold under that name.
void raise_clnt_create_error();

}  // namespace kvrpc
