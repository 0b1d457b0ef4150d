// The module object of the process. There is one: a second interpreter is refused, and a second
// import gets the same object.
#pragma once

#include "module/ref.h"

namespace kvrpc {

// The globals of the module, borrowed. Only to be called once the module is imported.
PyObject* module_globals();

}  // namespace kvrpc
