#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kt {

/// Physical lines of one component without their CR LF: views into the file's one buffer, which
/// the loader owns and which outlives the list. Whoever reads a line takes it out, so that at the
/// end only what nobody claimed is left. Removing is one pass over the list, whatever is taken.
class LineList {
public:
    using value_type = std::string_view;
    using const_iterator = std::vector<value_type>::const_iterator;

    LineList() = default;
    LineList(std::initializer_list<std::string_view> lines) : _lines(lines) {}
    explicit LineList(std::vector<std::string_view> lines) : _lines(std::move(lines)) {}

    std::size_t size() const { return _lines.size(); }
    bool empty() const { return _lines.empty(); }
    /// The index must be below size().
    std::string_view operator[](std::size_t index) const { return _lines[index]; }
    std::string_view front() const { return _lines.front(); }
    std::string_view back() const { return _lines.back(); }
    const_iterator begin() const { return _lines.begin(); }
    const_iterator end() const { return _lines.end(); }

    void clear() { _lines.clear(); }
    void reserve(std::size_t count) { _lines.reserve(count); }
    void append(std::string_view line) { _lines.push_back(line); }

    /// Asks `claims` about every line in order and takes out those for which it answers true.
    template <class Claims>
    void removeIf(Claims&& claims)
    {
        std::size_t kept = 0;
        for (std::string_view line : _lines) {
            if (!claims(line))
                _lines[kept++] = line;
        }
        _lines.resize(kept);
    }

    /// Whether halves of a character beyond the BMP may stand in the lines, which a fold has cut.
    /// Who fills the list may know that there are none, and then nobody looks for any.
    bool mayHoldHalves() const { return _mayHoldHalves; }
    void setMayHoldHalves(bool mayHold) { _mayHoldHalves = mayHold; }

    /// As an array describes itself: the old ASCII property-list form.
    std::string description() const;

    friend bool operator==(const LineList& left, const LineList& right)
    {
        return left._lines == right._lines;
    }

private:
    std::vector<std::string_view> _lines;
    bool _mayHoldHalves = true;
};

}  // namespace kt
