#pragma once
// Names are compared without regard to letter case, and letter case means A-Z only: host
// names, file names, registry keys and patterns fold the same way on every backend,
// whatever the locale. Bytes outside A-Z (UTF-8 included) stay as they are.
#include <string>
#include <string_view>

namespace launchagent {

constexpr char AsciiLower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr char AsciiUpper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}
std::string AsciiLower(std::string_view s);
std::string AsciiUpper(std::string_view s);
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

// A file name against a listing pattern: "*" any run of characters, "?" any one
// character, letters without regard to case. "*" and "*.*" match every name.
bool MatchesWildcard(std::string_view sName, std::string_view sPattern);

}  // namespace launchagent
