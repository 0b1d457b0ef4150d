// The module object. There is one in a process: a second import returns the same object, and a
// second interpreter cannot import it.
#pragma once

#include "module/ref.h"

namespace kvrpc {

// Returns the globals of the module, borrowed. The module must have been imported.
PyObject* module_globals();

}  // namespace kvrpc
