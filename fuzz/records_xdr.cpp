// XDR bytes into a record, back to bytes and to JSON text. The first byte is the type.
#include <cstdio>
#include <cstdlib>

#include "bridge/support/fuzz_entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const char* fault = kvrpc::test::fuzz_records_xdr(reinterpret_cast<const char*>(data), size);
  if (fault == nullptr) return 0;
  std::fprintf(stderr, "%s\n", fault);
  std::abort();
}
