// Deliberately reads freed memory: the address sanitizer has to stop this program.
#include <memory>

int main(int argc, char**)
{
    auto owner = std::make_unique<int>(argc);
    const volatile int* dangling = owner.get();
    owner.reset();
    return *dangling == argc ? 0 : 0;
}
