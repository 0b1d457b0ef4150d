#include "module/running_call.h"

#include "directory/directory.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

// ---- the operations of a closed handle

constexpr std::int32_t no_socket = 10038;  // what sending on a closed socket gives

std::int32_t closed_call(CLIENT*, std::uint32_t, xdrproc_t, void*, xdrproc_t, void*, rpc_timeval) {
  return RPC_CANTSEND;
}

void closed_geterr(CLIENT*, rpc_err* error) {
  *error = rpc_err{};
  error->re_status = RPC_CANTSEND;
  error->re_errno = no_socket;
}

void closed_nothing(CLIENT*) {}
bool_t closed_freeres(CLIENT*, xdrproc_t, void*) { return FALSE; }
bool_t closed_control(CLIENT*, std::uint32_t, void*) { return FALSE; }

const clnt_ops closed_ops = {closed_call,    closed_nothing, closed_geterr,
                             closed_freeres, closed_nothing, closed_control};

// Every call takes its handle's lock; that of closed handles is this one, held for no time.
rpc_lock_record* closed_lock;

}  // namespace

bool running_call::prepare() {
  if (closed_lock == nullptr) closed_lock = rpc_create_lock();
  if (closed_lock == nullptr) PyErr_NoMemory();
  return closed_lock != nullptr;
}

running_call::running_call(rpc_client* client, PyObject* verifier)
    : client_(client), verifier_(verifier), next_(client->calls), handle_(client->clnt), copy_() {
  if (waits_on(client->calls, handle_)) handle_ = nullptr;
  if (handle_ != nullptr) copy_ = *handle_;
  client->calls = this;
}

// Runs of several threads end in any order, so the list is searched.
running_call::~running_call() {
  running_call** link = &client_->calls;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
  if (destroys_) server_clnt_destroy(handle_);
}

void running_call::end_vetting() {
  if (waits_on(client_->calls, handle_)) use_closed_handle();
  vetting_ = false;
}

void running_call::use_closed_handle() {
  copy_ = {handle_->cl_auth, closed_lock, &closed_ops, nullptr};
  handle_ = &copy_;
}

void running_call::drop_handle() {
  if (handle_ != nullptr && client_->clnt == handle_) replace_handle(client_, nullptr);
}

bool running_call::waits_on(const running_call* calls, const CLIENT* clnt) {
  for (; calls != nullptr; calls = calls->next_) {
    if (calls->handle_ == clnt && clnt != nullptr && !calls->vetting_) return true;
  }
  return false;
}

bool running_call::close_handle(running_call* calls, CLIENT* clnt) {
  bool taken_over = false;
  for (; calls != nullptr; calls = calls->next_) {
    if (calls->handle_ != clnt) continue;
    if (calls->vetting_) {
      calls->use_closed_handle();
    } else {
      calls->destroys_ = taken_over = true;
    }
  }
  return taken_over;
}

}  // namespace kvrpc
