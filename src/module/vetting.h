// The vetting of a call by `verify_call` of the script's object.
#pragma once

namespace kvrpc {

// The verify_function of every call. `context` must be its running_call. Returns the result of
// `verify_call(name)` as an int, where 0 refuses the call. Prints any exception and then returns 0;
// no exception is set afterwards. SystemExit ends the process, because printing it does.
int eval_verify(const char* name, void* context);

}  // namespace kvrpc
