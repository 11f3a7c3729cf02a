// A program that only waits. The host's console run starts a copy of it, as a process start for
// monitoring software to see, and ends it.
#include "dev-controller/platform.h"

int main() {
    Sleep(INFINITE);
    return 0;
}
