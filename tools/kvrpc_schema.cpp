// Prints the interface as JSON: the servers, their procedures, every record, and the characters
// that a text may hold. Writes to FILE, or to standard output without one.
//
//   kvrpc-schema [FILE]
//
//   {"servers":[{"name":...,"program":N,"slot":N}, ...],
//    "programs":[{"name":...,"program":N,"version":1,"procedures":[
//        {"number":N,"name":...,"argument":TYPE,"result":TYPE}, ...]}, ...],
//    "records":{NAME:{"kind":"structure","fields":[{"key":...,"type":TYPE}, ...]},
//               NAME:{"kind":"union","discriminant":...,"fields":[
//                        {"key":...,"type":TYPE,"value":N}, ...]}},
//    "characters":[[UNIT,BYTE], ...],
//    "meanings":{"procedures":{NAME:{NOTE,"see":[NAME, ...]}, ...},
//                "keys":{KEY:{NOTE}, ...},
//                "fields":{"RECORD.KEY":{NOTE}, ...},    where one key has several meanings
//                "records":{NAME:{NOTE}, ...},           where it does not follow from the tables
//                "groups":[{"name":...,"note":...,"start":[NAME, ...],
//                           "procedures":[NAME, ...]}, ...],
//                "later_forms":[{"earlier":NAME,"later":NAME,"adds":...}, ...]}}
//
//   NOTE  "note":...,"basis":"stated", "name" or "unknown"
//   TYPE  {"kind":...}, with "count" where the kind has one, "record" where it leads to a record
//         (its own for list_next), "item" (a TYPE) for a vector
//   UNIT  a Unicode character that the servers' code has, and its BYTE there; in order of UNIT
//
// Kinds are those of schema/types.h. The bytes are the same on every platform, because sizes and
// offsets in memory, which depend on the width of a pointer, are left out.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "bridge/uc2.h"
#include "directory/directory.h"
#include "rpc/port_lookup.h"
#include "schema/notes.h"
#include "schema/reachable.h"
#include "schema/types.h"

namespace {

using namespace kvrpc;

std::uint32_t program_number(const char* name) {
  for (const server_entry& entry : server_directory) {
    if (std::strcmp(entry.name, name) == 0) return entry.program;
  }
  return 0;
}

// Begins a member on a new line, with a comma before it unless it is the first.
void begin_member(bool& first, const char* indent) {
  std::printf("%s\n%s", first ? "" : ",", indent);
  first = false;
}

// `owner` is the record that holds the field, if any.
void print_type(const wire_type& type, const record_type* owner) {
  std::printf("{\"kind\":\"%s\"", wire_kind_name(type.kind));
  if (type.count != 0) std::printf(",\"count\":%u", type.count);
  const record_type* record = type.kind == wire_kind::list_next ? owner : target_of(type);
  if (record != nullptr) std::printf(",\"record\":\"%s\"", record->name);
  if (const wire_type* item = item_of(type)) {
    std::printf(",\"item\":");
    print_type(*item, owner);
  }
  std::printf("}");
}

void print_servers() {
  bool first = true;
  std::printf("\"servers\":[");
  for (const server_entry& server : server_directory) {
    begin_member(first, "  ");
    std::printf("{\"name\":\"%s\",\"program\":%u,\"slot\":%d}", server.name, server.program,
                port_slot(server.program));
  }
  std::printf("]");
}

void print_procedure(const procedure& row) {
  std::printf("{\"number\":%u,\"name\":\"%s\",\"argument\":", row.number, row.name);
  print_type(row.argument, nullptr);
  std::printf(",\"result\":");
  print_type(row.result, nullptr);
  std::printf("}");
}

void print_program(const program_table& program) {
  std::printf("{\"name\":\"%s\",\"program\":%u,\"version\":1,\"procedures\":[", program.name,
              program_number(program.name));
  bool first = true;
  for (std::uint32_t family = 0; family < program.family_count; ++family) {
    const procedure_list& list = *program.families[family];
    for (std::uint32_t i = 0; i < list.count; ++i) {
      begin_member(first, "    ");
      print_procedure(list.rows[i]);
    }
  }
  std::printf("]}");
}

void print_programs() {
  bool first = true;
  std::printf("\"programs\":[");
  for (const program_table& program : programs) {
    begin_member(first, "  ");
    print_program(program);
  }
  std::printf("]");
}

void print_field(const record_type& record, const record_field& field) {
  std::printf("{\"key\":\"%s\",\"type\":", field.key);
  print_type(field.type, &record);
  if (record.is_union) std::printf(",\"value\":%d", field.value);
  std::printf("}");
}

void print_record(const record_type& record) {
  std::printf("\"%s\":{\"kind\":\"%s\",", record.name, record.is_union ? "union" : "structure");
  if (record.is_union) std::printf("\"discriminant\":\"%s\",", record.selector->key);
  std::printf("\"fields\":[");
  bool first = true;
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    begin_member(first, "    ");
    print_field(record, record.fields[i]);
  }
  std::printf("]}");
}

void print_records() {
  bool first = true;
  std::printf("\"records\":{");
  for (const record_type* record : reachable_records()) {
    begin_member(first, "  ");
    print_record(*record);
  }
  std::printf("}");
}

void print_characters() {
  bool first = true;
  std::printf("\"characters\":[");
  for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
    char byte = 0;
    int modifier = iso_no_byte;
    uc2_to_iso(static_cast<std::uint16_t>(unit), &byte, &modifier);
    if (modifier != iso_good) continue;
    begin_member(first, "  ");
    std::printf("[%u,%u]", unit, static_cast<unsigned char>(byte));
  }
  std::printf("]");
}

// "names" are separated by blanks.
void print_names(const char* key, const char* names) {
  std::printf(",\"%s\":[", key);
  bool first = true;
  while (*names != '\0') {
    const int size = static_cast<int>(std::strcspn(names, " "));
    std::printf("%s\"%.*s\"", first ? "" : ",", size, names);
    first = false;
    names += size;
    names += std::strspn(names, " ");
  }
  std::printf("]");
}

const char* basis_name(note_basis basis) {
  switch (basis) {
    case note_basis::stated:
      return "stated";
    case note_basis::name:
      return "name";
    case note_basis::unknown:
      return "unknown";
  }
  return "";
}

void print_note(const note& note) {
  std::printf("\"note\":\"%s\",\"basis\":\"%s\"", note.text, basis_name(note.basis));
}

void print_procedure_notes() {
  bool first = true;
  std::printf("\"procedures\":{");
  for (const program_table& program : programs) {
    for (std::uint32_t family = 0; family < program.family_count; ++family) {
      const procedure_list& list = *program.families[family];
      for (std::uint32_t i = 0; i < list.count; ++i) {
        const note* note = find_note(list.rows[i].name);
        if (note == nullptr) continue;
        begin_member(first, "    ");
        std::printf("\"%s\":{", list.rows[i].name);
        print_note(*note);
        print_names("see", note->see);
        std::printf("}");
      }
    }
  }
  std::printf("}");
}

// Prints the notes of keys: those that hold in every record, or those of single records.
void print_key_notes(const char* title, bool of_one_record) {
  bool first = true;
  std::printf(",\n  \"%s\":{", title);
  for (std::uint32_t i = 0; i < key_notes.count; ++i) {
    const key_note& row = key_notes.rows[i];
    if ((row.record[0] != '\0') != of_one_record) continue;
    begin_member(first, "    ");
    std::printf("\"%s%s%s\":{", row.record, of_one_record ? "." : "", row.key);
    print_note(row.meaning);
    std::printf("}");
  }
  std::printf("}");
}

void print_record_notes() {
  bool first = true;
  std::printf(",\n  \"records\":{");
  for (std::uint32_t i = 0; i < record_notes.count; ++i) {
    begin_member(first, "    ");
    std::printf("\"%s\":{", record_notes.rows[i].record);
    print_note(record_notes.rows[i].meaning);
    std::printf("}");
  }
  std::printf("}");
}

void print_groups() {
  bool first = true;
  std::printf(",\n  \"groups\":[");
  for (std::uint32_t i = 0; i < procedure_groups.count; ++i) {
    const procedure_group& group = procedure_groups.rows[i];
    begin_member(first, "    ");
    std::printf("{\"name\":\"%s\",\"note\":\"%s\"", group.name, group.text);
    print_names("start", group.start);
    print_names("procedures", group.procedures);
    std::printf("}");
  }
  std::printf("]");
}

void print_later_forms() {
  bool first = true;
  std::printf(",\n  \"later_forms\":[");
  for (std::uint32_t i = 0; i < later_forms.count; ++i) {
    const later_form& row = later_forms.rows[i];
    begin_member(first, "    ");
    std::printf("{\"earlier\":\"%s\",\"later\":\"%s\",\"adds\":\"%s\"}", row.earlier, row.later,
                row.adds);
  }
  std::printf("]");
}

void print_meanings() {
  std::printf("\"meanings\":{\n  ");
  print_procedure_notes();
  print_key_notes("keys", false);
  print_key_notes("fields", true);
  print_record_notes();
  print_groups();
  print_later_forms();
  std::printf("}");
}

}  // namespace

int main(int argc, char** argv) {
  // Binary, because a text file on Windows would have other line ends.
  if (argc > 1 && std::freopen(argv[1], "wb", stdout) == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  std::printf("{");
  print_servers();
  std::printf(",\n");
  print_programs();
  std::printf(",\n");
  print_records();
  std::printf(",\n");
  print_characters();
  std::printf(",\n");
  print_meanings();
  std::printf("}\n");
  return std::ferror(stdout) != 0 || std::fclose(stdout) != 0 ? 1 : 0;
}
