// XDR streams for tests and fuzz targets: one that writes to a byte vector, and one that reads from
// one and gives in-place access always, never or sometimes, as a record stream does at the edges of
// its buffer and fragments.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "rpc/xdr.h"

namespace kvrpc::test {

using bytes = std::vector<char>;

enum class inline_mode { always, never, sometimes };

class sink_stream {
 public:
  explicit sink_stream(bytes* out) : out_(out) {
    xdrs.x_op = XDR_ENCODE;
    xdrs.x_ops = operations();
    xdrs.x_private = reinterpret_cast<char*>(this);
  }
  sink_stream(const sink_stream&) = delete;
  sink_stream& operator=(const sink_stream&) = delete;

  XDR xdrs{};

 private:
  static sink_stream* of(XDR* stream) { return reinterpret_cast<sink_stream*>(stream->x_private); }

  static const xdr_ops* operations() {
    static constexpr xdr_ops table = {
        [](XDR*, std::int32_t*) { return FALSE; },
        [](XDR* stream, const std::int32_t* value) {
          char unit[4];
          xdr_store_unit(unit, static_cast<std::uint32_t>(*value));
          of(stream)->out_->insert(of(stream)->out_->end(), unit, unit + 4);
          return TRUE;
        },
        [](XDR*, char*, std::uint32_t) { return FALSE; },
        [](XDR* stream, const char* source, std::uint32_t length) {
          of(stream)->out_->insert(of(stream)->out_->end(), source, source + length);
          return TRUE;
        },
        [](XDR* stream) { return static_cast<std::uint32_t>(of(stream)->out_->size()); },
        [](XDR*, std::uint32_t) { return FALSE; },
        [](XDR*, std::int32_t) -> char* { return nullptr; },
        nullptr,
    };
    return &table;
  }

  bytes* out_;
};

class source_stream {
 public:
  source_stream(const bytes& content, inline_mode mode)
      : at_(content.data()), end_(content.data() + content.size()), mode_(mode) {
    xdrs.x_op = XDR_DECODE;
    xdrs.x_ops = operations();
    xdrs.x_private = reinterpret_cast<char*>(this);
  }
  source_stream(const source_stream&) = delete;
  source_stream& operator=(const source_stream&) = delete;

  bool at_end() const { return at_ == end_; }

  XDR xdrs{};

 private:
  static source_stream* of(XDR* stream) {
    return reinterpret_cast<source_stream*>(stream->x_private);
  }

  // Returns the next `length` bytes, or null if there are fewer.
  const char* take(std::uint64_t length) {
    if (length > static_cast<std::uint64_t>(end_ - at_)) return nullptr;
    const char* place = at_;
    at_ += length;
    return place;
  }

  bool refuses_inline() {
    state_ = state_ * 1664525u + 1013904223u;
    return mode_ == inline_mode::never || (mode_ == inline_mode::sometimes && state_ >> 31 != 0);
  }

  static const xdr_ops* operations() {
    static constexpr xdr_ops table = {
        [](XDR* stream, std::int32_t* value) {
          const char* place = of(stream)->take(4);
          if (place == nullptr) return FALSE;
          *value = static_cast<std::int32_t>(xdr_load_unit(place));
          return TRUE;
        },
        [](XDR*, const std::int32_t*) { return FALSE; },
        [](XDR* stream, char* destination, std::uint32_t length) {
          const char* place = of(stream)->take(length);
          if (place == nullptr) return FALSE;
          if (length != 0) std::memcpy(destination, place, length);
          return TRUE;
        },
        [](XDR*, const char*, std::uint32_t) { return FALSE; },
        [](XDR*) { return 0u; },
        [](XDR*, std::uint32_t) { return FALSE; },
        [](XDR* stream, std::int32_t length) -> char* {
          if (length < 0 || of(stream)->refuses_inline()) return nullptr;
          return const_cast<char*>(of(stream)->take(static_cast<std::uint32_t>(length)));
        },
        nullptr,
    };
    return &table;
  }

  const char* at_;
  const char* end_;
  inline_mode mode_;
  std::uint32_t state_ = 12345;
};

}  // namespace kvrpc::test
