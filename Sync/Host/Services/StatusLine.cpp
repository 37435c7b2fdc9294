#include "Sync/Host/Services/StatusLine.h"

#include <limits>

#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

constexpr std::string_view kEraseLine = "\r\x1b[K";
constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

std::size_t columnsOf(int descriptor)
{
    constexpr std::size_t kUsual = 80;
    winsize size{};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return kUsual;
    return size.ws_col;
}

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

/// Rather one column too many than a line that wraps: everything from the first wide script on.
std::size_t widthOf(char32_t character)
{
    constexpr char32_t kFirstWide = 0x1100;
    return character < kFirstWide ? 1 : 2;
}

std::string onOneLine(std::string_view text)
{
    std::string line;
    for (const char character : text) {
        if (character == '\n')
            line += ", ";
        else
            line += character;
    }
    return line;
}

std::string textOfEvent(const nlohmann::json& event)
{
    constexpr int kOnOneLine = -1;
    return event.dump(kOnOneLine, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void writeEvent(int descriptor, const nlohmann::json& event)
{
    writeFully(descriptor, textOfEvent(event));
}

}  // namespace

std::string fittedToColumns(std::string_view text, std::size_t columns)
{
    std::string fitted;
    std::size_t used = 0;
    for (std::size_t position = 0; position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        const std::size_t width = widthOf(step.codePoint);
        if (width > columns - used)
            break;
        used += width;
        if (!step.isValid)
            fitted += '?';
        else if (isControl(step.codePoint))
            fitted += ' ';
        else
            fitted += text.substr(position, step.length);
        position += step.length;
    }
    return fitted;
}

std::size_t columnsOfText(std::string_view text)
{
    std::size_t columns = 0;
    for (std::size_t position = 0; position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        columns += widthOf(step.codePoint);
        position += step.length;
    }
    return columns;
}

StatusLine::StatusLine(int descriptor, Detail detail)
    : _descriptor(descriptor),
      _detail(detail),
      _isTerminal(::isatty(descriptor) == 1)
{}

StatusLine::~StatusLine() { clear(); }

void StatusLine::print(std::string_view line)
{
    const std::lock_guard lock(_mutex);
    if (_detail != Detail::warnings)
        write(line);
}

void StatusLine::warn(std::string_view line)
{
    const std::lock_guard lock(_mutex);
    write(line);
}

std::string StatusLine::loneLine(std::string_view line) const
{
    if (_detail == Detail::events)
        return textOfEvent({{"log", line}});
    return std::string(_isTerminal ? kEraseLine : "") + std::string(line) + "\n";
}

void StatusLine::setStatus(std::string_view status)
{
    const std::lock_guard lock(_mutex);
    if (_detail == Detail::events)
        return writeEvent(_descriptor, {{"status", status}});
    _status = onOneLine(status);
    _step.clear();
    show();
}

void StatusLine::setProgress(std::string_view title, int current, int total)
{
    const std::lock_guard lock(_mutex);
    if (_detail == Detail::events)
        return writeEvent(_descriptor,
                          {{"step", {{"title", title}, {"current", current}, {"total", total}}}});
    _step = stringWithFormat("'%@' (%d von %d)", onOneLine(title), current, total);
    show();
}

void StatusLine::clear()
{
    const std::lock_guard lock(_mutex);
    if (_isDrawn)
        writeFully(_descriptor, kEraseLine);
    _isDrawn = false;
    _status.clear();
    _step.clear();
}

/// One write a line, so that lines of two threads or two programs do not mix.
void StatusLine::write(std::string_view line)
{
    if (_detail == Detail::events)
        return writeEvent(_descriptor, {{"log", line}});
    std::string text(_isDrawn ? kEraseLine : "");
    for (const std::string_view piece : componentsSeparatedByString(line, "\n")) {
        text += _isTerminal ? fittedToColumns(piece, kUnlimited) : std::string(piece);
        text += '\n';
    }
    writeFully(_descriptor, text);
    if (_isDrawn)
        show();
}

void StatusLine::show()
{
    if (_detail != Detail::all)
        return;
    if (!_isTerminal) {
        writeFully(_descriptor, (_step.empty() ? _status : _step) + "\n");
        return;
    }
    const std::string text = _step.empty() ? _status : _status + " " + _step;
    // The last column stays free: some terminals break the line as soon as it is used.
    writeFully(_descriptor,
               std::string(kEraseLine) + fittedToColumns(text, columnsOf(_descriptor) - 1));
    _isDrawn = true;
}

}  // namespace kt
