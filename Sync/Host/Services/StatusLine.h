#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace kt {

/// What a person sees of a run while it works, on standard error: the log lines, and below them, on
/// a terminal, one line with the status and how far the run has come, redrawn in place. Without a
/// terminal each new status and each step is a line of its own. Safe from every thread.
class StatusLine {
public:
    /// How much to show, and to whom.
    enum class Detail {
        all,
        warnings,
        /// All, for a program: each line one JSON object, {"log": LINE}, {"status": TEXT} or
        /// {"step": {"title", "current", "total"}}.
        events,
    };

    StatusLine(int descriptor, Detail detail);
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// One line of the log.
    void print(std::string_view line);
    /// A line that is shown whatever the detail.
    void warn(std::string_view line);

    /// What a line of the log looks like when it is written past this object, as a signal handler
    /// has to: with its line break, and on a terminal with what takes the status out of its way.
    std::string loneLine(std::string_view line) const;

    /// Replaces the status; a line break becomes a comma. A step belongs to the status it came
    /// with.
    void setStatus(std::string_view status);
    /// Number `current` of `total` (1-based), and its title.
    void setProgress(std::string_view title, int current, int total);
    /// Takes the line away; what is printed next starts on a clean one.
    void clear();

private:
    void write(std::string_view line);
    void show();

    int _descriptor;
    Detail _detail;
    bool _isTerminal;
    std::mutex _mutex;
    std::string _status;
    std::string _step;
    bool _isDrawn = false;
};

/// At most `columns` columns of the text, wide characters counted twice, control characters made
/// blanks: what comes from a store must not steer the terminal.
std::string fittedToColumns(std::string_view text, std::size_t columns);

/// How many columns the text takes, counted in the same way.
std::size_t columnsOfText(std::string_view text);

}  // namespace kt
