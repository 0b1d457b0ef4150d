// The environment variables that src/rpc and src/directory read. Each name occurs only here. A
// variable is read at each use, unless its comment says otherwise. CONTRIBUTING.md lists the places
// that a new one needs.
//
// LAMBDAHOST, GAMMAHOST, THETAHOST and PIHOST are reserved and change nothing.
#pragma once

#include <cstdint>

namespace kvrpc {

namespace variable {

// Hosts, for a client made without one (directory/directory.h).
inline constexpr char alpha_host[] = "ALPHAHOST";  // of alpha, if not empty; else the local host
inline constexpr char omega_host[] = "OMEGAHOST";  // of omega, if not empty; else the local host
inline constexpr char host[] = "ZOLMHOST";         // of all others, even if empty; else "localhost"
// The local host's name, its first 35 characters; "localhost" if missing or empty. Read once, when
// it is first needed.
inline constexpr char local_host[] = "LOCALHOST";

// The transport, even if empty; else "tcp". A portmapper query uses UDP unless this says TCP.
inline constexpr char transport[] = "RPCTRANSPORT";

// Ports (rpc/port_lookup.h).
inline constexpr char base_port[] = "KORVEXRPCPORT";  // for every host
inline constexpr char port_map[] = "KORVEXRPCMAP";    // by host; wins over the base port

// Added to every program number. The directory reads it once, at the first creation of a client. A
// port lookup reads it each time, and subtracts it to find the server's slot.
inline constexpr char program_offset[] = "KORVEXRPCOFFSET";

}  // namespace variable

// Reads a 32-bit number, or 0 if the variable does not exist. Returns false if memory is out.
bool environment_number(const char* name, std::int32_t* number);

}  // namespace kvrpc
