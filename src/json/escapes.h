// The characters of a JSON string that are written as a backslash and a letter.
#pragma once

namespace kvrpc {

struct json_escape {
  char character;
  char letter;
};
inline constexpr json_escape json_escapes[] = {{'"', '"'},  {'\\', '\\'}, {'\b', 'b'}, {'\t', 't'},
                                               {'\n', 'n'}, {'\f', 'f'},  {'\r', 'r'}};

// Returns the letter for a character, or NUL if it has none.
constexpr char json_escape_letter(char character) {
  for (const json_escape& escape : json_escapes) {
    if (escape.character == character) return escape.letter;
  }
  return '\0';
}

// Returns the character that a letter after a backslash means. A letter without a meaning, such as
// a slash, means itself.
constexpr char json_unescaped(char letter) {
  for (const json_escape& escape : json_escapes) {
    if (escape.letter == letter) return escape.character;
  }
  return letter;
}

}  // namespace kvrpc
