// Reads numbers from the environment.
#include "rpc/environment.h"

#include "rpc/decimal.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

bool environment_number(const char* name, std::int32_t* number) {
  const environment_text value(name);
  if (value.failed()) return false;
  *number = value.get() == nullptr ? 0 : parse_decimal(value.get());
  return true;
}

}  // namespace kvrpc
