#include "platform/text.h"

namespace launchagent {

std::string AsciiLower(std::string_view s) {
  std::string sOut(s);
  for (char& c : sOut) c = AsciiLower(c);
  return sOut;
}

std::string AsciiUpper(std::string_view s) {
  std::string sOut(s);
  for (char& c : sOut) c = AsciiUpper(c);
  return sOut;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  return true;
}

bool MatchesWildcard(std::string_view sName, std::string_view sPattern) {
  if (sPattern == "*.*" || sPattern == "*") return true;
  // Greedy, with one backtrack point per star: linear in practice, never exponential.
  std::size_t i = 0, j = 0, nStar = std::string_view::npos, nMark = 0;
  while (i < sName.size()) {
    const bool bLiteral = j < sPattern.size() && sPattern[j] != '*';
    if (bLiteral && (sPattern[j] == '?' || AsciiLower(sPattern[j]) == AsciiLower(sName[i]))) {
      ++i;
      ++j;
    } else if (j < sPattern.size() && sPattern[j] == '*') {
      nStar = j++;
      nMark = i;
    } else if (nStar != std::string_view::npos) {
      j = nStar + 1;
      i = ++nMark;
    } else {
      return false;
    }
  }
  while (j < sPattern.size() && sPattern[j] == '*') ++j;
  return j == sPattern.size();
}

}  // namespace launchagent
