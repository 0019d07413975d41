#include "words.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>

namespace orba::cli {

std::vector<std::string> Split(std::string_view text) {
  std::vector<std::string> words;
  constexpr std::string_view kSpace = " \t\r\n";
  for (size_t at = text.find_first_not_of(kSpace); at != std::string_view::npos;) {
    size_t end = text.find_first_of(kSpace, at);
    words.emplace_back(text.substr(at, end == std::string_view::npos ? end : end - at));
    at = end == std::string_view::npos ? end : text.find_first_not_of(kSpace, end);
  }
  return words;
}

Value IntegerOrText(std::string_view text) {
  // strtoll alone takes leading spaces and a '+': such a text is not the number as it stands.
  const size_t first = !text.empty() && text[0] == '-' ? 1 : 0;
  if (first == text.size() || isdigit(static_cast<unsigned char>(text[first])) == 0) {
    return Value(text);
  }
  const std::string copy(text);
  char* end = nullptr;
  errno = 0;
  const long long number = strtoll(copy.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return Value(text);
  return Value(number);
}

}  // namespace orba::cli
