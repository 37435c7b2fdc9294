#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "Sync/Foundation/Digest.h"

namespace kt {

/// Where things stand in a list, by their digests. A place takes eight bytes and holds a part of
/// the digest: comparing a whole one means going to the thing, which misses the cache, and hardly
/// ever happens in vain.
class DigestTable {
public:
    void reserve(std::size_t count)
    {
        std::size_t size = kFewest;
        while (!hasRoomFor(count, size))
            size *= 2;
        if (size > _places.size())
            resize(size);
    }

    /// The position that was entered with an equal digest, else the new one, which is entered then.
    /// `digestAt` gives the digest of what stands at a position.
    template <class DigestAt>
    std::uint32_t enter(const SHA1Digest& digest, std::uint32_t position, const DigestAt& digestAt)
    {
        reserve(_count + 1);
        const std::uint32_t tag = tagOf(digest);
        for (std::size_t index = firstPlace(tag);; index = behind(index)) {
            Place& place = _places[index];
            if (place.position == kFree) {
                place = {tag, position};
                ++_count;
                return position;
            }
            if (place.tag == tag && digestAt(place.position) == digest)
                return place.position;
        }
    }

    /// Whether an equal digest was entered.
    template <class DigestAt>
    bool contains(const SHA1Digest& digest, const DigestAt& digestAt) const
    {
        if (_count == 0)
            return false;
        const std::uint32_t tag = tagOf(digest);
        for (std::size_t index = firstPlace(tag); _places[index].position != kFree;
             index = behind(index)) {
            if (_places[index].tag == tag && digestAt(_places[index].position) == digest)
                return true;
        }
        return false;
    }

private:
    static constexpr std::uint32_t kFree = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t kFewest = 16;

    struct Place {
        std::uint32_t tag = 0;
        std::uint32_t position = kFree;
    };

    /// Any bytes of a digest are as good as others.
    static std::uint32_t tagOf(const SHA1Digest& digest)
    {
        std::uint32_t tag = 0;
        std::memcpy(&tag, digest.data(), sizeof tag);
        return tag;
    }
    /// A quarter stays free, so that a search ends soon.
    static bool hasRoomFor(std::size_t count, std::size_t size) { return 4 * count <= 3 * size; }
    std::size_t firstPlace(std::uint32_t tag) const { return tag & (_places.size() - 1); }
    std::size_t behind(std::size_t index) const { return (index + 1) & (_places.size() - 1); }

    void resize(std::size_t size)  // a power of two
    {
        const std::vector<Place> before = std::exchange(_places, std::vector<Place>(size));
        for (const Place& entered : before) {
            if (entered.position == kFree)
                continue;
            std::size_t index = firstPlace(entered.tag);
            while (_places[index].position != kFree)
                index = behind(index);
            _places[index] = entered;
        }
    }

    std::vector<Place> _places;
    std::size_t _count = 0;
};

}  // namespace kt
