// Deliberately overflows a signed integer: the undefined-behaviour sanitizer has to stop this
// program.
#include <limits>

int main(int argc, char**)
{
    volatile int largest = std::numeric_limits<int>::max();
    volatile int sum = largest + argc;
    return sum == 0 ? 0 : 0;
}
