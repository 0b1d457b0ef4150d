// The pieces of the record walker: fields in a row, lists, counted arrays, and the memory of what
// pointers lead to.
#pragma once

#include <cstdint>

#include "bridge/record_arena.h"
#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc {

// One pass over a value: its stream, and where nodes and targets of pointers live. Without an arena
// each is a block of its own.
struct record_walk {
  XDR* xdrs;
  record_arena* arena;
};

// Carries one value of `type`.
bool_t xdr_value(const record_walk& walk, char* data, const wire_type& type);
// A whole record; when it is a list node, all the nodes behind it as well.
bool_t xdr_record(const record_walk& walk, char* base, const record_type& record);
// The fields from `begin` up to `end`, none of them the link of a list.
bool_t xdr_fields(const record_walk& walk, char* base, const record_type& record,
                  std::uint32_t begin, std::uint32_t end);
// A list from its first node `base`, which is the caller's.
bool_t xdr_list(const record_walk& walk, char* base, const record_type& record);
// A counted array of records; `block` is its count and pointer.
bool_t xdr_array_of(const record_walk& walk, char* block, const record_type& record);

// A zero-filled target of a pointer, or null with the message for it.
char* new_target(const record_walk& walk, const record_type& record);
// Gives a target back, unless it goes with its arena.
void free_target(const record_walk& walk, char* target);

}  // namespace kvrpc
