#include "tests/histories/Shrinking.h"

#include <algorithm>
#include <utility>

namespace kt::test {

namespace {

class Shrinker {
public:
    Shrinker(History history, const std::function<bool(const History&)>& holds,
             std::chrono::seconds time)
        : _history(std::move(history)),
          _holds(holds),
          _end(std::chrono::steady_clock::now() + time)
    {}

    History run()
    {
        bool isSmaller = true;
        while (isSmaller && !isOver()) {
            isSmaller = withFewerDevices();
            for (std::size_t length = _history.operations.size(); length > 0; length /= 2)
                isSmaller = without(length) || isSmaller;
            isSmaller = withSmallerNumbers() || isSmaller;
        }
        return _history;
    }

private:
    bool isOver() const { return std::chrono::steady_clock::now() > _end; }
    bool take(History candidate)
    {
        if (isOver() || !_holds(candidate))
            return false;
        _history = std::move(candidate);
        return true;
    }

    bool withFewerDevices()
    {
        bool isSmaller = false;
        for (int devices = 2; devices < _history.devices && !isSmaller; ++devices) {
            History candidate = _history;
            candidate.devices = devices;
            isSmaller = take(std::move(candidate));
        }
        return isSmaller;
    }
    bool without(std::size_t length)
    {
        bool isSmaller = false;
        for (std::size_t end = _history.operations.size(); end >= length && end > 0;) {
            History candidate = _history;
            auto& operations = candidate.operations;
            const auto first = operations.begin() + static_cast<std::ptrdiff_t>(end - length);
            operations.erase(first, first + static_cast<std::ptrdiff_t>(length));
            isSmaller = take(std::move(candidate)) || isSmaller;
            end -= std::min(end, length);
        }
        return isSmaller;
    }
    bool withSmallerNumbers()
    {
        bool isSmaller = false;
        for (std::size_t index = 0; index < _history.operations.size(); ++index)
            for (int Operation::*number : {&Operation::first, &Operation::second}) {
                const int old = _history.operations[index].*number;
                for (const int smaller : {0, old / 2, old - 1}) {
                    History candidate = _history;
                    candidate.operations[index].*number = smaller;
                    if (smaller < old && smaller >= 0 && take(std::move(candidate))) {
                        isSmaller = true;
                        break;
                    }
                }
            }
        return isSmaller;
    }

    History _history;
    const std::function<bool(const History&)>& _holds;
    std::chrono::steady_clock::time_point _end;
};

}  // namespace

History shrunk(History history, const std::function<bool(const History&)>& holds,
               std::chrono::seconds time)
{
    return Shrinker(std::move(history), holds, time).run();
}

}  // namespace kt::test
