// The unified log: fixed messages, with their arguments, under a category and a level.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace platform {

enum class LogCategory : std::uint8_t { focus, gesture, buffer, permissions, lifecycle };
inline constexpr std::size_t logCategoryCount = 5;
std::string_view nameOf(LogCategory category);

enum class LogLevel : std::uint8_t { debug = 1, info = 2, standard = 4, error = 8 };

// Where a desktop keeps its log. Any thread.
class LogSink {
 public:
  LogSink() = default;
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;
  virtual ~LogSink() = default;
  virtual void write(LogCategory category, LogLevel level, const std::string& message) = 0;
};

// Which levels are on, a bit for each, by category. The desktop sets them; a message whose level is off costs this one
// test.
inline std::array<std::atomic<std::uint8_t>, logCategoryCount> enabledLogLevels{};

namespace detail {

struct LogArgument {
  enum class Kind : std::uint8_t { text, signedNumber, unsignedNumber, boolean };

  // Implicit, so that the arguments of a message can be written as they are.
  LogArgument(std::string_view value) : kind(Kind::text), text(value) {}  // NOLINT(google-explicit-constructor)
  LogArgument(const std::string& value) : kind(Kind::text), text(value) {}
  LogArgument(const char* value) : kind(Kind::text), text(value) {}
  LogArgument(bool value) : kind(Kind::boolean), number(value) {}
  template <class T>
  requires(std::is_integral_v<T> && !std::is_same_v<T, bool>) LogArgument(T value)
      : kind(std::is_signed_v<T> ? Kind::signedNumber : Kind::unsignedNumber),
        number(static_cast<std::int64_t>(value)) {}

  Kind kind;
  std::string_view text;
  std::int64_t number = 0;
};

template <class T>
constexpr LogArgument::Kind kindOf() {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<Plain, bool>) {
    return LogArgument::Kind::boolean;
  } else if constexpr (std::is_integral_v<Plain>) {
    return std::is_signed_v<Plain> ? LogArgument::Kind::signedNumber : LogArgument::Kind::unsignedNumber;
  } else {
    return LogArgument::Kind::text;
  }
}

// The next placeholder of `format` at or after `position`; `length` 0 if there is none.
struct LogPlaceholder {
  std::size_t position = 0;
  std::size_t length = 0;
  LogArgument::Kind kind = LogArgument::Kind::text;
};
constexpr LogPlaceholder nextPlaceholder(std::string_view format, std::size_t position) {
  constexpr std::array<std::pair<std::string_view, LogArgument::Kind>, 5> known{{
      {"%s", LogArgument::Kind::text},
      {"%ld", LogArgument::Kind::signedNumber},
      {"%d", LogArgument::Kind::signedNumber},
      {"%u", LogArgument::Kind::unsignedNumber},
      {"%{bool}d", LogArgument::Kind::boolean},
  }};
  const std::size_t found = format.find('%', position);
  if (found == std::string_view::npos) return {};
  for (const auto& [text, kind] : known) {
    if (format.substr(found, text.size()) == text) return {found, text.size(), kind};
  }
  throw "unknown placeholder";  // in a constant expression: a compile error
}

void writeLog(LogCategory category, LogLevel level, std::string_view format, const LogArgument* arguments,
              std::size_t count);

}  // namespace detail

// A message as it stands in the source. Its placeholders (%s %ld %d %u %{bool}d) are checked against the arguments when
// it is compiled.
template <class... Arguments>
class LogFormat {
 public:
  consteval LogFormat(const char* text) : text_(text) {  // NOLINT(google-explicit-constructor)
    const std::array<detail::LogArgument::Kind, sizeof...(Arguments)> given{detail::kindOf<Arguments>()...};
    std::size_t position = 0;
    std::size_t count = 0;
    for (;;) {
      const auto placeholder = detail::nextPlaceholder(text_, position);
      if (placeholder.length == 0) break;
      if (count == given.size() || given[count] != placeholder.kind) throw "arguments do not fit the message";
      ++count;
      position = placeholder.position + placeholder.length;
    }
    if (count != given.size()) throw "arguments do not fit the message";
  }
  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

// Any thread. Nothing that a user typed is ever an argument.
class Logger {
 public:
  explicit constexpr Logger(LogCategory category) : category_(category) {}

  template <class... Arguments>
  void debug(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) const {
    log<Arguments...>(LogLevel::debug, format, arguments...);
  }
  template <class... Arguments>
  void info(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) const {
    log<Arguments...>(LogLevel::info, format, arguments...);
  }
  template <class... Arguments>
  void standard(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) const {
    log<Arguments...>(LogLevel::standard, format, arguments...);
  }
  template <class... Arguments>
  void error(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) const {
    log<Arguments...>(LogLevel::error, format, arguments...);
  }

 private:
  template <class... Arguments>
  void log(LogLevel level, const LogFormat<Arguments...>& format, const Arguments&... arguments) const {
    const std::uint8_t levels = enabledLogLevels[static_cast<std::size_t>(category_)].load(std::memory_order_relaxed);
    if ((levels & static_cast<std::uint8_t>(level)) == 0) return;
    if constexpr (sizeof...(Arguments) == 0) {
      detail::writeLog(category_, level, format.text(), nullptr, 0);
    } else {
      const std::array<detail::LogArgument, sizeof...(Arguments)> list{detail::LogArgument(arguments)...};
      detail::writeLog(category_, level, format.text(), list.data(), list.size());
    }
  }

  LogCategory category_;
};

}  // namespace platform
