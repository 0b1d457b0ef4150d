// The frame of a call: parse the text, ask the vetting function, find the procedure, run it, and
// put the envelope around its result or failure.
#include "bridge/server_call.h"

#include "bridge/envelope.h"
#include "bridge/stub.h"
#include "json/document.h"

namespace kvrpc {

namespace {

// Parses, vets and runs one call, and returns its status. With CALL_OK the result's text follows
// what `reply` held before; with any other status the rest of `reply` means nothing.
int run_call(const program_table& program, CLIENT* clnt, const char* text, verify_function verify,
             void* context, text_buffer& reply) {
  json_document document;
  const json_node* const root = document.parse(text);
  if (root == nullptr) return CALL_UNPARSABLE;
  const json_node* const member = root->child;
  if (root->type != JSON_OBJECT || member == nullptr) return CALL_MALFORMED;
  if (verify != nullptr && verify(member->key, context) == 0) return CALL_REFUSED;
  const procedure* const target = find_procedure(program, member->key);
  return target != nullptr ? run_stub(clnt, *target, member, reply) : CALL_UNKNOWN;
}

// On failure, replaces the envelope that was opened for the result.
bool close_envelope(CLIENT* clnt, int status, text_buffer& reply) {
  if (status == CALL_OK) return reply.append('}');
  reply.clear();
  return fill_envelope(clnt, status, reply) != 0;
}

// The dispatcher of all six programs, which differ only in their tables. The envelope of a success
// is opened before anything is sent, so that memory for it cannot run out afterwards, and the
// result is written straight into it. Returns false, with status 7, if there is no memory for a
// reply.
bool dispatch(const program_table& program, CLIENT* clnt, const char* text, int* status,
              verify_function verify, void* context, text_buffer& reply) {
  *status = CALL_OK;
  if (fill_envelope(clnt, CALL_OK, reply)) {
    *status = run_call(program, clnt, text, verify, context, reply);
    if (close_envelope(clnt, *status, reply)) return true;
  }
  *status = CALL_NO_MEMORY;
  return false;
}

}  // namespace

char* server_call(CLIENT* clnt, const char* which, const char* text, int* status,
                  verify_function verify, void* context) {
  text_buffer reply;
  return server_call(clnt, which, text, status, verify, context, reply) ? reply.release() : nullptr;
}

bool server_call(CLIENT* clnt, const char* which, const char* text, int* status,
                 verify_function verify, void* context, text_buffer& reply) {
  const program_table* const program = find_program(which);
  return program != nullptr && dispatch(*program, clnt, text, status, verify, context, reply);
}

}  // namespace kvrpc
