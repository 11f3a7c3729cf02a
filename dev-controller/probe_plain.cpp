// A program that just waits. The host's console run copies it, starts the copy so that whoever
// watches process starts sees one, and ends it.
#include "dev-controller/platform.h"

int main() {
    Sleep(INFINITE);
    return 0;
}
