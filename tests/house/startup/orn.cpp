#include "SharedObjects.h"

#include <orn/orn_core.h>

int main()
{
    const bool ready = orn::Init();
    printSharedObjects();
    return ready ? 0 : 1;
}
