// Makes a store of N one-event files in a temporary home and prints its path. Whoever calls it
// removes it.

#include <cstdlib>
#include <iostream>

#include "bench/support/GeneratedStore.h"

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        std::cerr << "make_store N\n";
        return 2;
    }
    kt::bench::GeneratedStore store(std::atoi(arguments[1]));
    std::cout << store.home() << "\n";
    store.keep();
    return 0;
}
