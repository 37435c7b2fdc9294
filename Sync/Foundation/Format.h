#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// One argument of a format. It refers to what it was made from and lives no longer than the call.
class FormatArgument {
public:
    FormatArgument(std::nullptr_t) {}
    FormatArgument(std::nullopt_t) {}
    FormatArgument(std::string_view text) : _content(text) {}
    FormatArgument(const std::string& text) : _content(std::string_view(text)) {}
    FormatArgument(const char* text);
    FormatArgument(const std::optional<std::string>& text);
    FormatArgument(const std::optional<std::string_view>& text);
    template <std::integral I>
    FormatArgument(I integer) : _content(static_cast<std::int64_t>(integer))
    {}
    FormatArgument(double real) : _content(real) {}
    FormatArgument(const Value& value) : _content(&value) {}
    FormatArgument(const Array& array) : _content(&array) {}
    FormatArgument(const Dictionary& dictionary) : _content(&dictionary) {}
    FormatArgument(const Exception& exception) : _content(std::string_view(exception.description()))
    {}
    template <std::derived_from<Object> T>
    FormatArgument(const std::shared_ptr<T>& object)
    {
        if (object)
            _content = static_cast<const Object*>(object.get());
    }

    /// What `%@` and `%s` print; nil prints `(null)`.
    std::string text() const;
    void appendTextTo(std::string& out) const;
    /// What `%d` and `%c` take; 0 for what is no number.
    std::int64_t integer() const;
    /// What `%f` takes; 0 for what is no number.
    double real() const;

private:
    std::variant<std::monostate, std::string_view, std::int64_t, double, const Value*, const Array*,
                 const Dictionary*, const Object*>
        _content;
};

/// stringWithFormat: knows `%@`, `%d`, `%s`, `%f` with a precision, `%c` and `%%`; what it does not
/// know is copied. A missing argument prints `(null)` or 0 and never reads memory.
std::string stringWithFormatArguments(std::string_view format,
                                      std::span<const FormatArgument> arguments);

template <class... Arguments>
std::string stringWithFormat(std::string_view format, const Arguments&... arguments)
{
    const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
    return stringWithFormatArguments(format, list);
}

}  // namespace kt
