#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kt {

/// The text of one component, its BEGIN and END lines included (RFC 5545, 3.6), cut into what can
/// be kept or replaced on its own: properties with their folds, and the components inside. Views
/// into the text, which outlives it.
class ComponentText {
public:
    struct Part {
        std::string_view name;   // of the property, or "BEGIN:" and the name of the component
        std::string_view text;   // physical lines, each with its CR LF
        std::string_view key{};  // of a property, as the reader takes it: of its first line
        std::string value{};     // of a property, unfolded as the reader unfolds it

        bool isComponent() const { return name.starts_with("BEGIN:"); }
    };

    /// Every line of the text ends in CR LF; the first and the last are BEGIN and END.
    explicit ComponentText(std::string_view text);
    ComponentText(const ComponentText&) = delete;
    ComponentText& operator=(const ComponentText&) = delete;

    std::string_view begin() const { return _begin; }
    std::string_view end() const { return _end; }
    /// What stands between them, without a gap.
    const std::vector<Part>& parts() const { return _parts; }
    using PartList = std::vector<const Part*>;
    /// In order; empty when there is none.
    const PartList& partsNamed(std::string_view name) const;

private:
    void add(std::string_view line);

    std::string_view _begin;
    std::string_view _end;
    std::vector<Part> _parts;
    std::unordered_map<std::string_view, PartList> _byName;
    int _depth = 0;  // of components that are open inside
};

}  // namespace kt
