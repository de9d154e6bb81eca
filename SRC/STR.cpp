#include "zk/str.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <initializer_list>

#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "base/Number.h"

namespace zk {

std::string_view trimmed(std::string_view text) noexcept {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

int compareIgnoringCase(std::string_view a, std::string_view b) noexcept {
  const unsigned char *const upper = platform::upperCaseMap();
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference =
        upper[static_cast<unsigned char>(a[i])] - upper[static_cast<unsigned char>(b[i])];
    if (difference != 0) return difference;
  }
  return (a.size() > b.size()) - (a.size() < b.size());
}

const char *findText(const char *text, std::string_view pattern) noexcept {
  if (pattern.empty()) return text;
  for (; *text != '\0'; text += characterLength(text)) {
    if (*text == pattern.front() && std::strncmp(text, pattern.data(), pattern.size()) == 0) {
      return text;
    }
  }
  return nullptr;
}

std::size_t copyBounded(char *destination, std::string_view source, std::size_t capacity) noexcept {
  const std::size_t length = std::min(source.size(), capacity);
  if (length > 0) std::memmove(destination, source.data(), length);
  destination[length] = '\0';
  return length;
}

bool Tokenizer::atDelimiter(std::size_t length) const noexcept {
  for (const char *delimiter = delimiters_; *delimiter != '\0';) {
    const std::size_t size = characterLength(delimiter);
    if (size == length && std::memcmp(delimiter, rest_, size) == 0) return true;
    delimiter += size;
  }
  return false;
}

bool Tokenizer::next(std::string_view &token) noexcept {
  std::size_t length;
  while ((length = characterLength(rest_)) != 0 && atDelimiter(length)) rest_ += length;
  const char *const start = rest_;
  while ((length = characterLength(rest_)) != 0 && !atDelimiter(length)) rest_ += length;
  token = std::string_view(start, static_cast<std::size_t>(rest_ - start));
  return !token.empty();
}

namespace {

constexpr std::size_t kTokenInput = 512;
constexpr std::size_t kReplaceResult = 511;
constexpr std::size_t kKeywordResult = 263;

char nthTokenBuffer[kTokenInput + 1];
char rightNthTokenBuffer[kTokenInput + 1];
char replaceCharBuffer[kReplaceResult + 1];
char locateKeywordBuffer[kKeywordResult + 1];

constexpr std::size_t countOf(int32_t n) { return n > 0 ? static_cast<std::size_t>(n) : 0; }
constexpr int signOf(int value) { return (value > 0) - (value < 0); }
std::string_view orEmpty(const char *text) { return text != nullptr ? text : ""; }

// The part of `text` that `n` lets count.
std::string_view firstCharacters(const char *text, int32_t n) {
  if (text == nullptr) return "";
  return {text, strnlen(text, countOf(n))};
}

enum class Margin { kNone, kHalf, kAll };

// Blanks on both sides of the string up to `width`, where it ends; the left side gets its part of
// the spare characters.
char *justify(char *string, int32_t width, Margin left) {
  if (string == nullptr) return nullptr;
  const std::size_t total = countOf(width);
  const std::size_t length = std::strlen(string);
  if (length < total) {
    const std::size_t spare = total - length;
    const std::size_t margin = left == Margin::kAll ? spare : left == Margin::kHalf ? spare / 2 : 0;
    std::memmove(string + margin, string, length);
    std::memset(string, ' ', margin);
    std::memset(string + margin + length, ' ', spare - margin);
  }
  string[total] = '\0';
  return string;
}

char *mapBytes(char *destination, const char *source, const unsigned char *map) {
  if (destination == nullptr) return nullptr;
  const std::size_t length = copyBounded(destination, orEmpty(source), SIZE_MAX);
  for (std::size_t i = 0; i < length; ++i) {
    destination[i] = static_cast<char>(map[static_cast<unsigned char>(destination[i])]);
  }
  return destination;
}

// Removes what `isUnwanted` says, with `leadingOnly` up to the first character that stays.
template <typename Predicate>
char *removeCharacters(char *string, bool leadingOnly, Predicate isUnwanted) {
  char *to = string;
  const char *from = string;
  for (; *from != '\0'; ++from) {
    if (!isUnwanted(*from)) {
      if (leadingOnly) break;
      *to++ = *from;
    }
  }
  std::memmove(to, from, std::strlen(from) + 1);
  return string;
}

// The source from `*position` on; false when that lies outside.
bool restAt(const char *source, const int32_t *position, std::string_view &rest) {
  if (source == nullptr || position == nullptr || *position < 0) return false;
  const std::size_t offset = countOf(*position);
  if (strnlen(source, offset) < offset) return false;
  rest = source + offset;
  return true;
}

// Copies the part of `rest` up to `end` and moves the position behind it. `rest` began at
// `*position` and has lost `skipped` characters since.
char *takeWord(char *destination, std::string_view rest, char end, std::size_t skipped,
               int32_t *position) {
  const std::string_view word = rest.substr(0, rest.find(end));
  *position += static_cast<int32_t>(skipped + word.size());
  copyBounded(destination, word, SIZE_MAX);
  return destination;
}

// Characters to drop from the end of `line` so that it ends before its last blank.
std::size_t excessBehindLastBlank(std::string_view line) {
  const std::size_t blank = line.rfind(' ');
  return blank != std::string_view::npos ? line.size() - blank : 0;
}

// The n-th token of `string`, terminated in `buffer`, which may already hold the arguments.
const char *storeToken(char *buffer, const char *string, std::string_view token, int32_t *offset) {
  const auto start = static_cast<std::size_t>(token.data() - string);
  std::memmove(buffer + start, token.data(), token.size());
  buffer[start + token.size()] = '\0';
  if (offset != nullptr) *offset = static_cast<int32_t>(start);
  return buffer + start;
}

bool canTokenize(const char *string, const char *delimiters, int32_t n, int32_t *offset) {
  if (offset != nullptr) *offset = -1;
  return string != nullptr && delimiters != nullptr && n >= 0 &&
         strnlen(string, kTokenInput + 1) <= kTokenInput;
}

int32_t indexIgnoringCase(std::string_view string, std::string_view substring) {
  if (substring.size() > string.size()) return -1;
  const std::size_t last = string.size() - substring.size();
  for (std::size_t i = 0; i <= last; ++i) {
    if (compareIgnoringCase(string.substr(i, substring.size()), substring) == 0) {
      return static_cast<int32_t>(i);
    }
  }
  return -1;
}

char *substitute(const char *string, std::string_view pattern, std::string_view value) {
  const std::size_t length = std::strlen(string);
  auto *result = static_cast<char *>(base::allocate(length + value.size() + 1));
  if (result == nullptr) return nullptr;
  const char *found = pattern.empty() ? nullptr : findText(string, pattern);
  const auto before = found != nullptr ? static_cast<std::size_t>(found - string) : length;
  std::memcpy(result, string, before);
  char *end = result + before;
  if (found != nullptr) {
    end += value.copy(end, value.size());
    const std::string_view after(found + pattern.size());
    end += after.copy(end, after.size());
  }
  *end = '\0';
  return result;
}

// One pass, no second tries: the behaviour that stored patterns rely on.
template <typename Fold>
int matchWildcard(const char *string, const char *pattern, Fold fold) {
  bool endMatched = false;  // "?" has matched the terminator, which is not passed
  while (*pattern != '\0') {
    if (*pattern == '*') {
      while (*pattern == '*') ++pattern;
      if (*pattern == '\0') return 1;
      while (*string != '\0' && fold(*string) != fold(*pattern)) ++string;
      if (*string == '\0') return 0;
      ++string;
    } else {
      if (endMatched || (*pattern != '?' && fold(*pattern) != fold(*string))) return 0;
      if (*string == '\0') {
        endMatched = true;
      } else {
        ++string;
      }
    }
    ++pattern;
  }
  return *string == '\0';
}

bool isOneOf(const char *string, std::initializer_list<const char *> words) {
  return string != nullptr && std::any_of(words.begin(), words.end(), [&](const char *word) {
           return compareIgnoringCase(string, word) == 0;
         });
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

char *ZK_CALL zk_Str_rlb(char *string) {
  return string != nullptr ? removeCharacters(string, true, isSpace) : nullptr;
}

char *ZK_CALL zk_Str_rtb(char *string) {
  if (string == nullptr) return nullptr;
  std::size_t length = std::strlen(string);
  while (length > 0 && isSpace(string[length - 1])) --length;
  string[length] = '\0';
  return string;
}

char *ZK_CALL zk_Str_delBlks(char *string) { return zk_Str_rtb(zk_Str_rlb(string)); }

char *ZK_CALL zk_Str_pad(char *string, int32_t width) {
  const bool isShorter = string != nullptr && std::strlen(string) < countOf(width);
  return isShorter ? justify(string, width, Margin::kNone) : string;
}

char *ZK_CALL zk_Str_lj(char *string, int32_t width) {
  return justify(string, width, Margin::kNone);
}

char *ZK_CALL zk_Str_rj(char *string, int32_t width) {
  return justify(string, width, Margin::kAll);
}

char *ZK_CALL zk_Str_cj(char *string, int32_t width) {
  return justify(string, width, Margin::kHalf);
}

char *ZK_CALL zk_Str_stripChar(char *string, char character) {
  if (string == nullptr) return nullptr;
  return removeCharacters(string, false, [&](char c) { return c == character; });
}

char *ZK_CALL zk_Str_strip(char *string) { return zk_Str_stripChar(string, ' '); }

char *ZK_CALL zk_Str_stripChars(char *string, const char *set, int leadingOnly) {
  if (string == nullptr || set == nullptr) return string;
  // A table, because the set may lie in the string that is being changed.
  std::array<bool, UCHAR_MAX + 1> unwanted{};
  for (; *set != '\0'; ++set) unwanted[static_cast<unsigned char>(*set)] = true;
  return removeCharacters(string, leadingOnly != 0,
                          [&](char c) { return unwanted[static_cast<unsigned char>(c)]; });
}

char *ZK_CALL zk_Str_cpy(char *destination, const char *source) {
  if (destination == nullptr) return nullptr;
  copyBounded(destination, orEmpty(source), SIZE_MAX);
  return source != nullptr ? destination : nullptr;
}

int ZK_CALL zk_Str_ncpy(char *destination, const char *source, int32_t n) {
  if (destination == nullptr) return 0;
  const std::size_t copied = copyBounded(destination, firstCharacters(source, n), countOf(n));
  return n >= 1 && copied == countOf(n);
}

char *ZK_CALL zk_Str_dup(const char *string) {
  return string != nullptr ? base::duplicate(string, std::strlen(string)) : nullptr;
}

char *ZK_CALL zk_Str_dupW(const char *string) { return zk_Str_dup(string); }

char *ZK_CALL zk_Str_cat(char *destination, const char *source) {
  if (destination == nullptr || source == nullptr) return nullptr;
  copyBounded(destination + std::strlen(destination), source, SIZE_MAX);
  return destination;
}

char *ZK_CALL zk_Str_substr(char *destination, const char *source, int32_t start, int32_t count) {
  if (destination == nullptr) return nullptr;
  const std::size_t skipped = start > 1 ? static_cast<std::size_t>(start) - 1 : 0;
  const bool inside = source != nullptr && strnlen(source, skipped) == skipped;
  copyBounded(destination, inside ? firstCharacters(source + skipped, count) : "", SIZE_MAX);
  return destination;
}

char *ZK_CALL zk_Str_toLower(char *destination, const char *source) {
  return mapBytes(destination, source, platform::lowerCaseMap());
}

char *ZK_CALL zk_Str_toUpper(char *destination, const char *source) {
  return mapBytes(destination, source, platform::upperCaseMap());
}

int ZK_CALL zk_Str_cmpi(const char *a, const char *b) {
  return signOf(compareIgnoringCase(orEmpty(a), orEmpty(b)));
}

int ZK_CALL zk_Str_ncmpi(const char *a, const char *b, int32_t n) {
  return signOf(compareIgnoringCase(firstCharacters(a, n), firstCharacters(b, n)));
}

char *ZK_CALL zk_Str_nextSDLWord(char *destination, const char *source, int32_t *position) {
  if (destination == nullptr) return nullptr;
  std::string_view rest;
  if (!restAt(source, position, rest)) return zk_Str_cpy(destination, "");
  const std::size_t blanks = std::min(rest.find_first_not_of(' '), rest.size());
  return takeWord(destination, rest.substr(blanks), ' ', blanks, position);
}

char *ZK_CALL zk_Str_nextCDLWord(char *destination, const char *source, int32_t *position) {
  if (destination == nullptr) return nullptr;
  std::string_view rest;
  if (!restAt(source, position, rest)) return zk_Str_cpy(destination, "");
  const std::size_t separator = rest.starts_with(';');
  return takeWord(destination, rest.substr(separator), ';', separator, position);
}

int32_t ZK_CALL zk_Str_findClosestWordBoundary(const char *string, int32_t n) {
  return static_cast<int32_t>(excessBehindLastBlank(firstCharacters(string, n)));
}

const char *ZK_CALL zk_Str_getNthToken(const char *string, const char *delimiters, int32_t n,
                                       int32_t *offset) {
  if (!canTokenize(string, delimiters, n, offset)) return nullptr;
  Tokenizer tokens(string, delimiters);
  std::string_view token;
  do {
    if (!tokens.next(token)) return nullptr;
  } while (n-- > 0);
  return storeToken(nthTokenBuffer, string, token, offset);
}

const char *ZK_CALL zk_Str_getRightNthToken(const char *string, const char *delimiters, int32_t n,
                                            int32_t *offset) {
  if (!canTokenize(string, delimiters, n, offset)) return nullptr;
  std::array<std::string_view, kTokenInput / 2 + 1> found;
  std::size_t count = 0;
  Tokenizer tokens(string, delimiters);
  while (count < found.size() && tokens.next(found[count])) ++count;
  if (countOf(n) >= count) return nullptr;
  return storeToken(rightNthTokenBuffer, string, found[count - 1 - countOf(n)], offset);
}

int32_t ZK_CALL zk_Str_index(const char *string, const char *substring, int ignoreCase) {
  if (string == nullptr || substring == nullptr) return -1;
  if (ignoreCase != 0) return indexIgnoringCase(string, substring);
  const char *found = std::strstr(string, substring);
  return found != nullptr ? static_cast<int32_t>(found - string) : -1;
}

const char *ZK_CALL zk_Str_locateKeyword(const char *string, const char *delimiter) {
  if (string == nullptr || delimiter == nullptr) return nullptr;
  const std::size_t width = std::strlen(delimiter);
  const char *first = findText(string, delimiter);
  const char *second = first != nullptr ? findText(first + width, delimiter) : nullptr;
  if (second == nullptr) return nullptr;
  const char *start = first + width;
  copyBounded(locateKeywordBuffer, {start, static_cast<std::size_t>(second - start)},
              kKeywordResult);
  return locateKeywordBuffer;
}

char *ZK_CALL zk_Str_replaceKeywordDynamic(const char *string, const char *keyword,
                                           const char *delimiter, const char *value) {
  if (string == nullptr || keyword == nullptr || delimiter == nullptr || value == nullptr) {
    return nullptr;
  }
  return base::guarded<char *>(nullptr, [&] {
    base::String pattern(delimiter);
    pattern.append(keyword).append(delimiter);
    return substitute(string, pattern, value);
  });
}

char *ZK_CALL zk_Str_replaceKeyword(char *string, const char *keyword, const char *delimiter,
                                    const char *value, int32_t maxLength) {
  const base::OwnedBlock<char> result(
      zk_Str_replaceKeywordDynamic(string, keyword, delimiter, value));
  if (result == nullptr) return nullptr;
  zk_Str_ncpy(string, result.get(), maxLength);
  return string;
}

const char *ZK_CALL zk_Str_replaceChar(const char *string, const char *from, const char *to) {
  const std::string_view pattern = orEmpty(from);
  const std::string_view replacement = orEmpty(to);
  std::string_view rest = orEmpty(string);
  // Aside: the arguments may stand in the buffer.
  std::array<char, kReplaceResult> result;
  std::size_t length = 0;
  const auto append = [&](std::string_view text) {
    length += text.copy(result.data() + length, result.size() - length);
  };
  while (!rest.empty() && length < result.size()) {
    const std::size_t found = pattern.empty() ? std::string_view::npos : rest.find(pattern);
    append(rest.substr(0, found));
    if (found == std::string_view::npos) break;
    append(replacement);
    rest.remove_prefix(found + pattern.size());
  }
  copyBounded(replaceCharBuffer, {result.data(), length}, kReplaceResult);
  return replaceCharBuffer;
}

int ZK_CALL zk_Str_matchWildcard(const char *string, const char *pattern) {
  if (string == nullptr || pattern == nullptr) return 0;
  return matchWildcard(string, pattern, [](char c) { return c; });
}

int ZK_CALL zk_Str_matchWildcardi(const char *string, const char *pattern) {
  if (string == nullptr || pattern == nullptr) return 0;
  return matchWildcard(string, pattern, upperCase);
}

int ZK_CALL zk_Str_isAffirmative(const char *string) {
  return isOneOf(string, {"1", "TRUE", "YES", "ON"});
}

int ZK_CALL zk_Str_isNegative(const char *string) {
  return isOneOf(string, {"0", "FALSE", "NO", "OFF"});
}

// Parts that only b has are not looked at, so that "1.2" asks for any 1.2.
int ZK_CALL zk_Str_compareVersion(const char *a, const char *b) {
  if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
  if (compareIgnoringCase(a, b) == 0) return 0;
  Tokenizer partsOfA(a, ".");
  Tokenizer partsOfB(b, ".");
  std::string_view part;
  while (partsOfA.next(part)) {
    const double left = base::toDouble(part);
    const double right = partsOfB.next(part) ? base::toDouble(part) : 0.0;
    if (left > right) return 1;
    if (left < right) return -1;
  }
  return 0;
}

StrList *ZK_CALL zk_Str_wrapText(const char *text, int32_t width) {
  if (text == nullptr) return nullptr;
  std::string_view rest(text);
  const std::size_t limit = width < 1 ? rest.size() : countOf(width);
  OwnedStringList lines(newList());
  if (lines == nullptr) return nullptr;
  while (rest.size() > limit) {
    if (rest.front() == ' ') rest.remove_prefix(1);
    const bool endsAtBlank = rest.size() > limit && rest[limit] == ' ';
    const std::size_t length =
        endsAtBlank ? limit : limit - excessBehindLastBlank(rest.substr(0, limit));
    if (!appendString(*lines, rest.substr(0, length))) return nullptr;
    rest.remove_prefix(length);
  }
  if (!rest.empty() || lines->length == 0) {
    if (!appendString(*lines, rest)) return nullptr;
  }
  return lines.release();
}

ZK_EXTERN_C_END
