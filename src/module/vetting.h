// The script's say in a call: `verify_call` of the object that came with it.
#pragma once

namespace kvrpc {

// The verify_function of every call; `context` is its running_call. Runs `verify_call(name)` of
// the call's verifier and returns its result as an integer. Whatever raises on the way is printed
// and refuses the call: no exception is pending afterwards.
int eval_verify(const char* name, void* context);

}  // namespace kvrpc
