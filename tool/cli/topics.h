// What users trip over, one short text each: for `trvil help`, and for the manual page.
#pragma once

#include <string>
#include <vector>

namespace trv::tool {

struct Topic {
    const char* name;
    const char* title;
    const char* text;  // lines of at most 99 characters; blank lines between paragraphs
};

extern const std::vector<Topic> topics;

// Null when there is no such topic.
const Topic* find_topic(const std::string& name);

}  // namespace trv::tool
