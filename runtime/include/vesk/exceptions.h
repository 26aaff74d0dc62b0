// Exceptions of the vesk task runtime. Every error_exception carries its bare message, the file, line and
// function that raised it and its own type name; what() returns "file: line function(): message".
#pragma once

#include <exception>
#include <string>
#include <typeinfo>

namespace vesk {

class vesk_exception : public std::exception {
 public:
  ~vesk_exception() override = default;
  const char* what() const noexcept override = 0;
};

class error_exception : public vesk_exception {
 public:
  error_exception(std::string message, std::string file, unsigned line, std::string function,
                  const std::type_info& type = typeid(error_exception));

  const char* what() const noexcept override { return m_full_text.c_str(); }
  const std::string& message() const noexcept { return m_message; }
  const std::string& file() const noexcept { return m_file; }
  unsigned line() const noexcept { return m_line; }
  const std::string& function() const noexcept { return m_function; }
  const std::string& type_name() const noexcept { return m_type_name; }

 private:
  std::string m_message;
  std::string m_full_text;
  std::string m_file;
  unsigned m_line;
  std::string m_function;
  std::string m_type_name;
};

class api_exception : public error_exception {
 public:
  api_exception(std::string message, std::string file, unsigned line, std::string function)
      : error_exception(std::move(message), std::move(file), line, std::move(function), typeid(api_exception)) {}
};

class tls_exception : public error_exception {
 public:
  tls_exception(std::string message, std::string file, unsigned line, std::string function)
      : error_exception(std::move(message), std::move(file), line, std::move(function), typeid(tls_exception)) {}
};

}  // namespace vesk
