// The life of one call, and the closed handle: every operation on it fails without a socket.
#include "module/running_call.h"

#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

// ---- the operations of a closed handle

std::int32_t closed_call(CLIENT*, std::uint32_t, xdrproc_t, void*, xdrproc_t, void*, rpc_timeval) {
  return RPC_CANTSEND;
}

// The error of a send on a closed socket.
void closed_geterr(CLIENT*, rpc_err* error) {
  *error = rpc_err{};
  error->re_status = RPC_CANTSEND;
  error->re_errno = RPC_ENOTSOCK;
}

void closed_nothing(CLIENT*) {}
bool_t closed_freeres(CLIENT*, xdrproc_t, void*) { return FALSE; }
bool_t closed_control(CLIENT*, std::uint32_t, void*) { return FALSE; }

const clnt_ops closed_ops = {closed_call,    closed_nothing, closed_geterr,
                             closed_freeres, closed_nothing, closed_control};

// Every call takes its handle's lock. All closed handles share this one: closed_call cannot wait.
rpc_lock_record* closed_lock;

}  // namespace

bool running_call::prepare() {
  if (closed_lock == nullptr) closed_lock = rpc_create_lock();
  if (closed_lock == nullptr) PyErr_NoMemory();
  return closed_lock != nullptr;
}

running_call::running_call(rpc_client* client, PyObject* verifier)
    : client_(client), verifier_(verifier), connection_(nullptr), copy_() {
  if (client->conn == nullptr || !client->conn->is_idle()) return;
  connection_ = client->conn->share();
  copy_ = *connection_->handle();
}

running_call::~running_call() {
  if (connection_ == nullptr) return;
  if (has_stream_) connection_->end_call();
  connection_->leave();
}

void running_call::end_vetting() {
  if (connection_ == nullptr) return;
  has_stream_ = connection_->begin_call();
  if (!has_stream_) copy_ = {copy_.cl_auth, closed_lock, &closed_ops, nullptr, 0};
}

void running_call::drop_connection() {
  if (connection_ != nullptr && client_->conn == connection_) {
    replace_connection(client_, nullptr);
  }
}

}  // namespace kvrpc
