// The runtime's exception types: the full text is built once, when the exception is made, so what()
// never allocates.
#include <vesk/exceptions.h>

#include <vesk/log.h>

namespace vesk {

error_exception::error_exception(std::string message, std::string file, unsigned line, std::string function,
                                 const std::type_info& type)
    : m_message(std::move(message)),
      m_full_text(internal::strprintf("%s: %u %s(): %s", file.c_str(), line, function.c_str(), m_message.c_str())),
      m_file(std::move(file)),
      m_line(line),
      m_function(std::move(function)),
      m_type_name(internal::demangler::do_work(type)) {}

}  // namespace vesk
