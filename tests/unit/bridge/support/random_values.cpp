// Makes random tables and values. Writes each value's JSON text and XDR bytes side by side.
#include "bridge/support/random_values.h"

#include "bridge/base64.h"
#include "bridge/uc2.h"

namespace kvrpc::test {

namespace {

constexpr const char* keys[] = {"a", "userid", "passwor", "hinterg", "x1", "faxid"};
constexpr const char* arm_keys[] = {"v0", "v1", "v2"};
constexpr std::uint32_t most_links = 6;

}  // namespace

// ---- tables

template <std::size_t N>
const record_type& random_tables::keep_structure(const std::vector<record_field>& fields) {
  record_field rows[N];
  for (std::size_t i = 0; i < N; ++i) rows[i] = fields[i];
  auto table = std::make_shared<const structure<N>>("random", rows);
  records_.push_back(table);
  return *table;
}

template <std::size_t N>
const record_type& random_tables::keep_choice(const std::vector<arm>& arms, const char* key) {
  arm rows[N];
  for (std::size_t i = 0; i < N; ++i) rows[i] = arms[i];
  auto table = std::make_shared<const choice<N>>("random", key, rows);
  records_.push_back(table);
  return *table;
}

wire_type random_tables::leaf() {
  const std::uint32_t size = 1 + random_.below(12);
  switch (random_.below(13)) {
    case 0:
      return wire::long_;
    case 1:
      return wire::int_;
    case 2:
      return wire::u_long_;
    case 3:
      return wire::short_;
    case 4:
      return wire::bool_;
    case 5:
      return wire::chars(size);
    case 6:
      return wire::schars(size);
    case 7:
      return wire::text;
    case 8:
      return wire::text_of(size);
    case 9:
      return wire::opaque(size);
    case 10:
      return wire::opaque64(size);
    case 11:
      return wire::blob;
    default:
      return wire::string;
  }
}

wire_type random_tables::type(int depth) {
  if (depth == 0) return leaf();
  switch (random_.below(7)) {
    case 0:
      return wire::pointer_to(record(depth - 1));
    case 1:
      return wire::array_of(record(depth - 1));
    case 2:
      items_.push_back(type(depth - 1));
      return wire::vector_of(items_.back(), 1 + random_.below(4));
    case 3:
      return wire::inline_(record(depth - 1));
    default:
      return leaf();
  }
}

const record_type& random_tables::record(int depth) {
  return random_.chance(4) ? union_of_arms(depth) : structure_of_fields(depth);
}

// Each third structure is a list node, its link at a random place.
const record_type& random_tables::structure_of_fields(int depth) {
  const std::uint32_t count = 1 + random_.below(5);
  const std::uint32_t link = random_.chance(3) ? random_.below(count) : count;
  std::vector<record_field> fields(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    fields[i].key = i == link ? "next" : keys[i];
    fields[i].type = i == link ? wire::list_next : type(depth);
  }
  switch (count) {
    case 1:
      return keep_structure<1>(fields);
    case 2:
      return keep_structure<2>(fields);
    case 3:
      return keep_structure<3>(fields);
    case 4:
      return keep_structure<4>(fields);
    default:
      return keep_structure<5>(fields);
  }
}

const record_type& random_tables::union_of_arms(int depth) {
  const std::uint32_t count = 1 + random_.below(3);
  std::vector<arm> arms;
  const auto first = static_cast<std::int32_t>(random_.below(3)) - 1;
  for (std::uint32_t i = 0; i < count; ++i) {
    arms.push_back({first + static_cast<std::int32_t>(i), arm_keys[i], type(depth)});
  }
  const char* key = random_.chance(2) ? "vers" : "selection";
  switch (count) {
    case 1:
      return keep_choice<1>(arms, key);
    case 2:
      return keep_choice<2>(arms, key);
    default:
      return keep_choice<3>(arms, key);
  }
}

// ---- values

// The characters that have a byte from which they come back, in the form in which a reply prints
// them.
const std::vector<random_values::character>& random_values::characters() {
  static const std::vector<character> all = [] {
    std::vector<character> result;
    for (std::uint32_t unit = 0x20; unit < 0x10000; ++unit) {
      char iso = 0;
      int mod = iso_no_byte;
      std::uint16_t back = 0;
      char utf8[5];
      uc2_to_iso(static_cast<std::uint16_t>(unit), &iso, &mod);
      if (mod != iso_good || iso == '\0' || !iso_to_uc2(iso, &back) || back != unit) continue;
      uc2_to_utf8(unit, utf8);
      const bool escaped = unit == '"' || unit == '\\';
      result.push_back({escaped ? std::string("\\") + utf8 : utf8, iso});
    }
    result.push_back({"\\n", '\n'});
    result.push_back({"\\t", '\t'});
    return result;
  }();
  return all;
}

random_value random_values::value(const wire_type& type) {
  value_ = {};
  put(type);
  return value_;
}

void random_values::put_unit(std::uint32_t unit) {
  char place[4];
  xdr_store_unit(place, unit);
  value_.wire.insert(value_.wire.end(), place, place + 4);
}

void random_values::put_padded(const std::string& content) {
  value_.wire.insert(value_.wire.end(), content.begin(), content.end());
  value_.wire.resize((value_.wire.size() + 3) / 4 * 4);
}

void random_values::put_integer(std::int64_t value) {
  put_unit(static_cast<std::uint32_t>(value));
  value_.json += std::to_string(value);
}

std::string random_values::put_characters(std::uint32_t count) {
  std::string iso;
  value_.json += '"';
  for (std::uint32_t i = 0; i < count; ++i) {
    const character& one =
        characters()[random_.below(static_cast<std::uint32_t>(characters().size()))];
    value_.json += one.json;
    iso += one.iso;
  }
  value_.json += '"';
  return iso;
}

void random_values::put_fixed_text(const wire_type& type) {
  std::string iso = put_characters(random_.below(type.count));
  iso.resize(type.count);
  if (type.kind == wire_kind::fixed_text) return put_padded(iso);
  for (char byte : iso) put_unit(static_cast<std::uint32_t>(static_cast<signed char>(byte)));
}

// A text that reaches its cap has no NUL.
void random_values::put_counted_text(std::uint32_t cap, bool with_nul) {
  std::string iso = put_characters(random_.below(cap < 30 ? cap + 1 : 30));
  if (with_nul) iso += '\0';
  if (iso.size() > cap) iso.resize(cap);
  put_unit(static_cast<std::uint32_t>(iso.size()));
  put_padded(iso);
}

void random_values::put_octets(std::uint32_t size, bool counted) {
  std::string octets;
  for (std::uint32_t i = 0; i < size; ++i) octets += static_cast<char>(random_.bits() >> 24);
  std::string text(base64_text_size(size), '.');
  base64_encode_to(text.data(), octets.data(), size);
  value_.json += '"' + text + '"';
  if (counted) put_unit(size);
  put_padded(octets);
}

void random_values::put_target(const record_type& record) {
  const bool present = !random_.chance(3);
  put_unit(present ? 1 : 0);
  if (present) {
    put_record(record);
  } else {
    value_.json += "null";
  }
}

void random_values::put_union(const record_type& record) {
  const record_field& chosen = record.fields[random_.below(record.field_count)];
  value_.json += std::string("{\"") + record.selector->key + "\":";
  put_integer(chosen.value);
  value_.json += std::string(",\"") + chosen.key + "\":";
  put(chosen.type);
  value_.json += '}';
}

void random_values::put_record(const record_type& record) {
  if (record.is_union) return put_union(record);
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    const record_field& field = record.fields[i];
    value_.json += std::string(i == 0 ? "{\"" : ",\"") + field.key + "\":";
    if (field.type.kind != wire_kind::list_next) {
      const std::uint32_t links = links_;
      links_ = 0;
      put(field.type);
      links_ = links;
    } else if (links_ == most_links) {
      put_unit(0);
      value_.json += "null";
    } else {
      ++links_;
      put_target(record);
      --links_;
    }
  }
  value_.json += '}';
}

void random_values::put(const wire_type& type) {
  switch (type.kind) {
    case wire_kind::long_:
    case wire_kind::int_:
      return put_integer(static_cast<std::int32_t>(random_.bits()));
    case wire_kind::u_long_:
      return put_integer(random_.bits());
    case wire_kind::short_:
      return put_integer(static_cast<std::int16_t>(random_.bits()));
    case wire_kind::bool_:
      put_unit(random_.below(2));
      value_.json += value_.wire.back() != 0 ? "true" : "false";
      return;
    case wire_kind::chars:
    case wire_kind::schars:
    case wire_kind::fixed_text:
      return put_fixed_text(type);
    case wire_kind::text:
      return put_counted_text(UINT32_MAX, true);
    case wire_kind::counted_text:
      return put_counted_text(type.count, true);
    case wire_kind::string:
      return put_counted_text(UINT32_MAX, false);
    case wire_kind::opaque:
      return put_octets(type.count, false);
    case wire_kind::blob:
      return put_octets(random_.below(20), true);
    case wire_kind::pointer:
      return put_target(*type.target);
    case wire_kind::record:
      return put_record(*type.target);
    case wire_kind::vector:
    case wire_kind::array: {
      const bool counted = type.kind == wire_kind::array;
      const std::uint32_t count = counted ? random_.below(4) : type.count;
      if (counted) put_unit(count);
      value_.json += '[';
      for (std::uint32_t i = 0; i < count; ++i) {
        if (i > 0) value_.json += ", ";
        put(counted ? wire::inline_(*type.target) : *type.item);
      }
      value_.json += ']';
      return;
    }
    case wire_kind::nothing:
      value_.json += "null";
      return;
    case wire_kind::list_next:
    case wire_kind::unspecified:
      return;
  }
}

}  // namespace kvrpc::test
