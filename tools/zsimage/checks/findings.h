/// @file
/// Faults and remarks that a check has found.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

struct Finding {
  const char* kind; ///< One word for programs, such as "edc".
  bool isFault;     ///< False for a remark: the image is still good.
  std::string words;
};

class Findings : public std::vector<Finding> {
public:
  template <class... T> void AddFault(const char* kind, fmt::format_string<T...> words, T&&... values) {
    push_back({kind, true, fmt::format(words, std::forward<T>(values)...)});
  }
  template <class... T> void AddRemark(const char* kind, fmt::format_string<T...> words, T&&... values) {
    push_back({kind, false, fmt::format(words, std::forward<T>(values)...)});
  }

  std::size_t Faults() const {
    return static_cast<std::size_t>(std::count_if(begin(), end(), [](const Finding& each) { return each.isFault; }));
  }
};
