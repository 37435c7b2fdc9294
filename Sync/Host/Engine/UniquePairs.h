#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace kt {

/// Pairs what has a feature that nobody else on its side has.
class UniquePairs {
public:
    void addLeft(std::string feature, std::size_t index) { add(_left, std::move(feature), index); }
    void addRight(std::string feature, std::size_t index)
    {
        add(_right, std::move(feature), index);
    }

    template <class Pair>
    void forEach(const Pair& pair) const
    {
        for (const auto& [feature, left] : _left) {
            const auto right = _right.find(feature);
            if (left && right != _right.end() && right->second)
                pair(*left, *right->second);
        }
    }

private:
    // nullopt: several have it.
    using Places = std::unordered_map<std::string, std::optional<std::size_t>>;

    static void add(Places& places, std::string feature, std::size_t index)
    {
        if (feature.empty())
            return;
        const auto [place, isNew] = places.try_emplace(std::move(feature), index);
        if (!isNew)
            place->second = std::nullopt;
    }

    Places _left;
    Places _right;
};

}  // namespace kt
