#include "Sync/PlugIns/iCal/Calendar/ChangedItemText.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/ComponentText.h"
#include "Sync/PlugIns/iCal/Calendar/StoodParts.h"

namespace kt {

namespace {

using Part = ComponentText::Part;
using Parts = ComponentText::PartList;

/// What is carried over of a property that changed.
enum class Carry {
    all,        // also what the reader passed over: exceptions in a second zone
    unchanged,  // the lines of the values that stayed
    nothing,
};

/// Of other names that the writer knows, all lines follow the record: a second status or due date
/// would gainsay it.
bool mayStandUnderSeveralKeys(std::string_view name)
{
    return name == "EXDATE" || name.starts_with("X-");
}

/// The key that came last, whose lines are all that the reader takes of such a name.
std::string_view keyThatIsRead(const Parts& parts)
{
    std::unordered_set<std::string_view> seen;
    std::string_view last;
    for (const Part* part : parts) {
        if (seen.insert(part->key).second)
            last = part->key;
    }
    return last;
}

/// A property that says in other words what another one says, and goes when that one changes.
struct Follower {
    std::string_view name;
    std::string_view leader;
};
constexpr std::array<Follower, 2> kFollowers{
    {{"PERCENT-COMPLETE", "STATUS"}, {"PERCENT-COMPLETE", "COMPLETED"}}};

bool haveEqualTexts(const Parts& left, const Parts& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const Part* one, const Part* other) { return one->text == other->text; });
}

/// Puts the component together from what stood and what is wanted.
class Composition {
public:
    Composition(const ComponentText& stored, const ComponentText& written,
                const ComponentText& wanted, Carry carry)
        : _stored(stored),
          _written(written),
          _wanted(wanted),
          _carry(carry)
    {}

    std::string text()
    {
        for (const Part& part : _stored.parts())
            addStored(part);
        for (const Part& part : _wanted.parts()) {
            if (_stored.partsNamed(part.name).empty() && isChanged(part.name))
                addWanted(part.name);
        }
        return std::string(_stored.begin()) + _properties + _components +
               std::string(_stored.end());
    }

private:
    bool isChanged(std::string_view name)
    {
        const auto [known, isNew] = _changed.try_emplace(name);
        if (isNew)
            known->second = !haveEqualTexts(_written.partsNamed(name), _wanted.partsNamed(name));
        return known->second;
    }

    bool isOutdated(std::string_view name)
    {
        return name == "LAST-MODIFIED" ||
               std::any_of(kFollowers.begin(), kFollowers.end(), [&](const Follower& follower) {
                   return follower.name == name && isChanged(follower.leader);
               });
    }

    void addStored(const Part& part)
    {
        if (isOutdated(part.name))
            return;
        if (isChanged(part.name))
            addWanted(part.name);
        else
            add(part, part.text);
    }

    void add(const Part& part, std::string_view text)
    {
        (part.isComponent() ? _components : _properties) += text;
    }

    /// All that is wanted of one name, at the place where the first of it stood.
    void addWanted(std::string_view name)
    {
        if (!_done.insert(name).second)
            return;
        if (_carry == Carry::all && mayStandUnderSeveralKeys(name))
            carryUnread(_stored.partsNamed(name));
        const Parts& wanted = _wanted.partsNamed(name);
        const StoodParts stood(_stored.partsNamed(name), _written.partsNamed(name), wanted);
        for (std::size_t index = 0; index < wanted.size(); ++index)
            addWanted(*wanted[index], stood.originOf(index));
    }

    void addWanted(const Part& wanted, const StoodParts::Origin& origin)
    {
        if (origin.stored == nullptr || (_carry == Carry::nothing && !wanted.isComponent()))
            return add(wanted, wanted.text);
        if (origin.isSame)
            return add(wanted, origin.stored->text);
        const ComponentText stored(origin.stored->text);
        const ComponentText written(origin.written->text);
        add(wanted, Composition(stored, written, ComponentText(wanted.text), _carry).text());
    }

    void carryUnread(const Parts& stored)
    {
        const std::string_view read = keyThatIsRead(stored);
        for (const Part* part : stored) {
            if (part->key != read)
                add(*part, part->text);
        }
    }

    const ComponentText& _stored;
    const ComponentText& _written;
    const ComponentText& _wanted;
    Carry _carry;
    std::string _properties;
    std::string _components;
    std::unordered_map<std::string_view, bool> _changed;
    std::unordered_set<std::string_view> _done;
};

}  // namespace

std::string changedItemText(
    const ChangedItem& item,
    const std::function<std::optional<std::string>(std::string_view)>& asRead)
{
    const std::optional<std::string> wantedAsRead = asRead(item.wanted);
    const ComponentText stored(item.stored);
    const ComponentText written(item.written);
    const ComponentText wanted(item.wanted);
    for (const Carry carry : {Carry::all, Carry::unchanged, Carry::nothing}) {
        std::string text = Composition(stored, written, wanted, carry).text();
        const std::optional<std::string> read = asRead(text);
        if (read && (read == item.aim || read == wantedAsRead))
            return text;
    }
    return std::string(item.wanted);
}

}  // namespace kt
