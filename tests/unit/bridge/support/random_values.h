// Random tables, and random values of a type in both of its outer forms: the JSON text of a reply
// and the XDR bytes. Both are written here by the rules themselves, not by the code under test, so
// that a mistake which that code makes in both directions shows.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bridge/support/test_streams.h"
#include "schema/types.h"

namespace kvrpc::test {

class random_source {
 public:
  explicit random_source(std::uint32_t seed) : engine_(seed) {}

  // Returns a number from 0 to bound - 1.
  std::uint32_t below(std::uint32_t bound) { return bits() % bound; }
  std::uint32_t bits() { return static_cast<std::uint32_t>(engine_()); }
  bool chance(std::uint32_t one_in) { return below(one_in) == 0; }

 private:
  std::mt19937 engine_;
};

// Owns the tables that it makes. A table nests at most `depth` deep.
class random_tables {
 public:
  explicit random_tables(std::uint32_t seed) : random_(seed) {}

  wire_type type(int depth);
  const record_type& record(int depth);

 private:
  wire_type leaf();
  const record_type& structure_of_fields(int depth);
  const record_type& union_of_arms(int depth);
  template <std::size_t N>
  const record_type& keep_structure(const std::vector<record_field>& fields);
  template <std::size_t N>
  const record_type& keep_choice(const std::vector<arm>& arms, const char* key);

  random_source random_;
  std::deque<wire_type> items_;
  std::vector<std::shared_ptr<const record_type>> records_;
};

struct random_value {
  std::string json;
  bytes wire;
};

class random_values {
 public:
  explicit random_values(std::uint32_t seed) : random_(seed) {}

  random_value value(const wire_type& type);

 private:
  struct character {
    std::string json;
    char iso;
  };

  void put(const wire_type& type);
  void put_unit(std::uint32_t unit);
  void put_padded(const std::string& content);
  void put_integer(std::int64_t value);
  void put_fixed_text(const wire_type& type);
  void put_counted_text(std::uint32_t cap, bool with_nul);
  void put_octets(std::uint32_t size, bool counted);
  void put_record(const record_type& record);
  void put_union(const record_type& record);
  void put_target(const record_type& record);
  // The iso form; the JSON form is appended to the text.
  std::string put_characters(std::uint32_t count);
  static const std::vector<character>& characters();

  random_source random_;
  random_value value_;
  std::uint32_t links_ = 0;  // of the list that is being made
};

}  // namespace kvrpc::test
