// Makes a store in a temporary home and prints the home's path: N one-event files of the 10.5
// layout, or one file of the 10.4 layout with about as many megabytes of events. Whoever calls it
// removes it.

#include <cstdlib>
#include <iostream>
#include <string_view>

#include "bench/support/BigFileHome.h"
#include "bench/support/GeneratedStore.h"

namespace {

template <class Store>
int made(Store&& store)
{
    std::cout << store.home() << "\n";
    store.keep();
    return 0;
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount == 2)
        return made(kt::bench::GeneratedStore(std::atoi(arguments[1])));
    if (argumentCount == 3 && std::string_view(arguments[1]) == "--big")
        return made(kt::bench::BigFileHome(
            static_cast<std::size_t>(std::strtoul(arguments[2], nullptr, 10))));
    std::cerr << "make_store N | make_store --big MEGABYTES\n";
    return 2;
}
