#include "messages/text_forms.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "platform/text.h"

namespace launchagent::text_forms {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Single-precision number as text. bSigned: the signed form (blank, no zero before the
// point); otherwise plain decimal text.
std::string FormatSingle(Single sgl, bool bSigned) {
  const double d = static_cast<double>(sgl);
  if (std::isnan(d)) return bSigned ? " NaN" : "NaN";
  const bool bNegative = std::signbit(d) && d != 0.0;
  std::string sOut = bNegative ? "-" : (bSigned ? " " : "");
  if (std::isinf(d)) return sOut.append("Inf");
  if (d == 0.0) return sOut.append("0");

  // Seven significant digits, correctly rounded from the exact value, then the
  // trailing zeros dropped. to_chars ignores the locale, so the point is always ".".
  char buf[32];
  const auto res =
      std::to_chars(buf, buf + sizeof buf, std::fabs(d), std::chars_format::scientific, 6);
  const std::string sSci(buf, res.ptr);  // "d.dddddde+XX"
  const auto nE = sSci.find('e');
  std::string sDigits;
  sDigits.push_back(sSci[0]);
  sDigits.append(sSci, 2, nE - 2);
  int nExp = 0;
  std::from_chars(sSci.data() + nE + (sSci[nE + 1] == '+' ? 2 : 1), sSci.data() + sSci.size(),
                  nExp);
  while (sDigits.size() > 1 && sDigits.back() == '0') sDigits.pop_back();

  // Built by appending only: g++ 12 at -O3 warns falsely on concatenated temporaries.
  if (nExp >= -4 && nExp <= 6) {
    if (nExp >= 0) {
      const auto nInt = static_cast<std::size_t>(nExp) + 1;
      if (sDigits.size() <= nInt) {
        sOut.append(sDigits);
        sOut.append(nInt - sDigits.size(), '0');
      } else {
        sOut.append(sDigits, 0, nInt);
        sOut.push_back('.');
        sOut.append(sDigits, nInt, std::string::npos);
      }
    } else {
      if (!bSigned) sOut.push_back('0');
      sOut.push_back('.');
      sOut.append(static_cast<std::size_t>(-nExp - 1), '0');
      sOut.append(sDigits);
    }
    return sOut;
  }
  sOut.push_back(sDigits[0]);
  if (sDigits.size() > 1) {
    sOut.push_back('.');
    sOut.append(sDigits, 1, std::string::npos);
  }
  sOut.append(nExp < 0 ? "E-" : "E+");
  const int nAbsExp = nExp < 0 ? -nExp : nExp;
  if (nAbsExp < 10) sOut.push_back('0');
  sOut.append(std::to_string(nAbsExp));
  return sOut;
}

template <typename T>
std::optional<T> ReadWhole(const std::string& sText) {
  const auto d = ReadNumber(sText);
  if (!d) return std::nullopt;
  const double r = RoundHalfEven(*d);
  if (r < static_cast<double>(std::numeric_limits<T>::min()) ||
      r > static_cast<double>(std::numeric_limits<T>::max())) {
    return std::nullopt;
  }
  return static_cast<T>(r);
}

}  // namespace

std::string BareForm(std::int64_t n) {
  char buf[24];
  const auto res = std::to_chars(buf, buf + sizeof buf, n);
  return std::string(buf, res.ptr);
}

std::string SignedForm(std::int64_t n) {
  std::string s;
  if (n >= 0) s.push_back(' ');
  s.append(BareForm(n));
  return s;
}

std::string SignedForm(Single sgl) { return FormatSingle(sgl, true); }

std::string DecimalText(Single sgl) { return FormatSingle(sgl, false); }

std::string FlagForm(bool b) { return b ? "True" : "False"; }

std::optional<double> ReadNumber(const std::string& sText) {
  const std::size_t n = sText.size();
  std::size_t i = 0;
  while (i < n && IsBlank(sText[i])) ++i;
  bool bNegative = false;
  if (i < n && (sText[i] == '+' || sText[i] == '-')) {
    bNegative = sText[i] == '-';
    ++i;
  }
  const std::size_t nStart = i;
  std::size_t nIntDigits = 0;
  std::size_t nFracDigits = 0;
  // Decimal exponent of the first significant digit, for telling overflow from underflow.
  long long lngLead = 0;
  bool bSeenSignificant = false;
  while (i < n && IsDigit(sText[i])) {
    if (sText[i] != '0') bSeenSignificant = true;
    if (bSeenSignificant) ++lngLead;
    ++nIntDigits;
    ++i;
  }
  if (i < n && sText[i] == '.') {
    ++i;
    while (i < n && IsDigit(sText[i])) {
      if (!bSeenSignificant) {
        if (sText[i] != '0')
          bSeenSignificant = true;
        else
          --lngLead;
      }
      ++nFracDigits;
      ++i;
    }
  }
  if (nIntDigits + nFracDigits == 0) return 0.0;
  if (!bSeenSignificant) return 0.0;
  std::size_t nEnd = i;
  long long lngExp = 0;
  if (i < n && (sText[i] == 'e' || sText[i] == 'E')) {
    std::size_t j = i + 1;
    bool bExpNegative = false;
    if (j < n && (sText[j] == '+' || sText[j] == '-')) {
      bExpNegative = sText[j] == '-';
      ++j;
    }
    if (j < n && IsDigit(sText[j])) {
      while (j < n && IsDigit(sText[j])) {
        if (lngExp < 1000000000LL) lngExp = lngExp * 10 + (sText[j] - '0');
        ++j;
      }
      if (bExpNegative) lngExp = -lngExp;
      nEnd = j;
    }
  }
  double d = 0.0;
  const auto res = std::from_chars(sText.data() + nStart, sText.data() + nEnd, d);
  if (res.ec == std::errc::result_out_of_range) {
    // Far beyond a double either way: too large is a failure, too small reads as 0.
    if (lngLead + lngExp > 0) return std::nullopt;
    d = 0.0;
  } else if (res.ec != std::errc()) {
    return 0.0;
  }
  if (std::isinf(d)) return std::nullopt;
  return bNegative ? -d : d;
}

double RoundHalfEven(double d) {
  if (!std::isfinite(d)) return d;
  double r = std::floor(d);
  const double diff = d - r;
  if (diff > 0.5 || (diff == 0.5 && std::fmod(r, 2.0) != 0.0)) r += 1.0;
  return r;
}

std::optional<Integer> ReadInteger(const std::string& sText) { return ReadWhole<Integer>(sText); }

std::optional<Long> ReadLong(const std::string& sText) { return ReadWhole<Long>(sText); }

std::optional<Single> ReadSingle(const std::string& sText) {
  const auto d = ReadNumber(sText);
  if (!d) return std::nullopt;
  // Numbers round to the nearest single; from half an ulp above the largest finite
  // single on they would round to infinity, which is an overflow.
  constexpr double kOverflow = 0x1.ffffffp+127;
  if (std::fabs(*d) >= kOverflow) return std::nullopt;
  return static_cast<Single>(*d);
}

bool StringToBoolean(const std::string& sVal) {
  std::size_t b = 0;
  std::size_t e = sVal.size();
  while (b < e && IsBlank(sVal[b])) ++b;
  while (e > b && IsBlank(sVal[e - 1])) --e;
  return EqualsIgnoringCase(std::string_view(sVal).substr(b, e - b), "TRUE");
}

}  // namespace launchagent::text_forms
