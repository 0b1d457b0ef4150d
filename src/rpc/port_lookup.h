// The server's port as the environment decides it, read anew at each lookup.
//
// A server listens on a base port plus its slot, so that seven consecutive ports serve all of them.
// KORVEXRPCPORT is the base port for every host, KORVEXRPCMAP gives one per host and wins:
//
//   map    entry { ";" entry } [ ";" ]
//   entry  host ":" decimal number            blanks anywhere are dropped
//
// The map is split at ":" and ";" in turn and not parsed: separators before a token are skipped, a
// name may contain ";", and nothing after the matching entry is read. For example, "::a:7000;b:x"
// gives host a the base port 7000 without a message about b.
//
// KORVEXRPCOFFSET, read anew at each lookup, is subtracted from the program number before its slot
// is looked up.
#pragma once

#include <cstdint>

namespace kvrpc {

// Returns the place of a program's port among the ports of an installation, or -1 if it has none.
std::int32_t port_slot(std::uint32_t program);

// Returns the port in the host's order, or 0 if the environment gives none. Reports a malformed map
// on stderr and returns the port found so far. If there is no memory for the map, reports that and
// returns the base port. If there is none for one of the numbers, returns -1 with the reason in
// rpc_createerr, because another port would lead to another server.
std::int32_t rpc_port_lookup(const char* host, std::uint32_t program, std::uint32_t version);

}  // namespace kvrpc
