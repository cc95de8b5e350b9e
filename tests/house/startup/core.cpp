#include "SharedObjects.h"

#include <QString>

int main()
{
    printSharedObjects();
    return QStringLiteral("core").isEmpty();
}
