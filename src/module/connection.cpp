// The states of a connection; connection.h has the table.
#include "module/connection.h"

#include "directory/directory.h"
#include "module/ref.h"

namespace kvrpc {

connection* connection::make() {
  auto* made = static_cast<connection*>(PyMem_Malloc(sizeof(connection)));
  if (made == nullptr) {
    PyErr_NoMemory();
    return nullptr;
  }
  made->clnt_ = nullptr;
  made->users_ = 1;
  made->state_ = state::closed;
  return made;
}

connection* connection::share() {
  ++users_;
  return this;
}

void connection::leave() {
  if (--users_ == 0) PyMem_Free(this);
}

void connection::open(CLIENT* clnt) {
  clnt_ = clnt;
  state_ = clnt != nullptr ? state::idle : state::closed;
}

bool connection::begin_call() {
  if (!is_idle()) return false;
  state_ = state::busy;
  return true;
}

void connection::end_call() {
  if (state_ == state::busy) {
    state_ = state::idle;
  } else {
    destroy();
  }
}

void connection::close() {
  if (state_ == state::idle) {
    destroy();
  } else if (state_ == state::busy) {
    state_ = state::closing;
  }
}

void connection::destroy() {
  state_ = state::closed;
  server_clnt_destroy(clnt_);
  clnt_ = nullptr;
}

}  // namespace kvrpc
