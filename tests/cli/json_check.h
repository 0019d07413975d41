#ifndef ORBA_TESTS_CLI_JSON_CHECK_H
#define ORBA_TESTS_CLI_JSON_CHECK_H

// A strict JSON reader for what a station script would parse: one value per line, nothing
// after it. Tests hold the tool's output to it rather than to the writer's own idea of JSON.

#include <map>
#include <string>

namespace orba::test {

// Whether `text` is exactly one JSON object (surrounding whitespace allowed). On success
// `members` (when given) holds each member's value as its JSON text: "2", "\"ok\"", "[...]".
bool ParseJsonObject(const std::string& text, std::map<std::string, std::string>* members,
                     std::string* error);

}  // namespace orba::test

#endif
