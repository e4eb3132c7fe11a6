/// @file
/// Environment variables of this process and of the processes that it starts.
#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

/// Sets a variable. The destructor restores the former state.
class EnvironmentVariable {
public:
  EnvironmentVariable(const char* name, const std::string& value) : m_name(name) {
    const char* before = ::getenv(name);
    m_before = before == nullptr ? std::nullopt : std::optional<std::string>(before);
    ::setenv(name, value.c_str(), 1);
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
  ~EnvironmentVariable() { m_before ? ::setenv(m_name, m_before->c_str(), 1) : ::unsetenv(m_name); }

private:
  const char* m_name;
  std::optional<std::string> m_before;
};
