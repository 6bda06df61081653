// A program outside the source tree that uses the installed library.
#include <tarnovelle/tarnovelle.h>

#include <cstdio>

int main() {
    CTNClock* clock = TNGetClock();
    if (!clock || clock->NowMilliseconds() == 0) return 1;
    TNSetLastError(7);
    if (TNGetLastError() != 7) return 2;
    std::printf("tarnovelle consumer ok\n");
    return 0;
}
