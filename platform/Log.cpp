#include "platform/Log.h"

#include "platform/Desktop.h"

namespace platform {

std::string_view nameOf(LogCategory category) {
  static constexpr std::array<std::string_view, logCategoryCount> names{"focus", "gesture", "buffer", "permissions",
                                                                        "lifecycle"};
  return names[static_cast<std::size_t>(category)];
}

namespace detail {
namespace {

void append(std::string& message, const LogArgument& argument) {
  switch (argument.kind) {
    case LogArgument::Kind::text:
      message += argument.text;
      return;
    case LogArgument::Kind::signedNumber:
      message += std::to_string(argument.number);
      return;
    case LogArgument::Kind::unsignedNumber:
      message += std::to_string(static_cast<std::uint64_t>(argument.number));
      return;
    case LogArgument::Kind::boolean:
      message += argument.number ? "true" : "false";
      return;
  }
}

}  // namespace

void writeLog(LogCategory category, LogLevel level, std::string_view format, const LogArgument* arguments,
              std::size_t count) {
  std::string message;
  message.reserve(format.size() + 32);
  std::size_t position = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const LogPlaceholder placeholder = nextPlaceholder(format, position);
    message += format.substr(position, placeholder.position - position);
    append(message, arguments[i]);
    position = placeholder.position + placeholder.length;
  }
  message += format.substr(position);
  Desktop::current().log().write(category, level, message);
}

}  // namespace detail
}  // namespace platform
