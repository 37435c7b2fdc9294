// Deliberately writes one variable from two threads: the thread sanitizer has to report it.
#include <thread>

namespace {

int shared = 0;

void count()
{
    for (int i = 0; i < 100000; ++i)
        ++shared;
}

}  // namespace

int main()
{
    std::thread first(count);
    std::thread second(count);
    first.join();
    second.join();
    return shared == 0 ? 0 : 0;
}
