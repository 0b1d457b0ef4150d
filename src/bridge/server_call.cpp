#include "bridge/server_call.h"

#include "bridge/envelope.h"
#include "bridge/stub.h"

namespace kvrpc {

namespace {

class owned_tree {
 public:
  explicit owned_tree(json_node* root) : root_(root) {}
  ~owned_tree() { json_delete(root_); }
  owned_tree(const owned_tree&) = delete;
  owned_tree& operator=(const owned_tree&) = delete;

  const json_node* get() const { return root_; }

 private:
  json_node* root_;
};

// Parses, vets and runs one call; the call status. With status 0 the result's text stands behind
// what `root` held.
int run_call(const program_table& program, CLIENT* clnt, const char* text, verify_function verify,
             void* context, text_buffer& root) {
  const owned_tree tree(json_parse(text));
  if (tree.get() == nullptr) return CALL_UNPARSABLE;
  const json_node* node = tree.get()->child;
  if (tree.get()->type != JSON_OBJECT || node == nullptr) return CALL_MALFORMED;
  if (verify != nullptr && verify(node->key, context) == 0) return CALL_REFUSED;
  const procedure* target = find_procedure(program, node->key);
  return target != nullptr ? run_stub(clnt, *target, node, root) : CALL_UNKNOWN;
}

// Puts the envelope of a failed call in the place of the one that was opened for a result.
bool close_envelope(CLIENT* clnt, int status, text_buffer& root) {
  if (status == CALL_OK) return root.append('}');
  root.clear();
  return fill_envelope(clnt, status, root) != 0;
}

// The dispatcher of all six programs, which differ in their tables alone. The reply text in `root`,
// or false with status 7. The envelope has its memory before anything is sent, and the result is
// written straight into it.
bool dispatch(const program_table& program, CLIENT* clnt, const char* text, int* status,
              verify_function verify, void* context, text_buffer& root) {
  if (fill_envelope(clnt, CALL_OK, root)) {
    *status = run_call(program, clnt, text, verify, context, root);
    if (close_envelope(clnt, *status, root)) return true;
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
