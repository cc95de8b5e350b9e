#include "CommonOptions.h"

Option addJsonFlag(const Command& command, bool& json)
{
    return command.flag("--json", json, "Answer in JSON, for programs");
}

Option addQuietFlag(const Command& command, bool& quiet)
{
    return command.flag("--quiet", quiet, "Show no progress");
}

Option addNoReplaceFlag(const Command& command, bool& refuseReplace, const char* description)
{
    return command.flag("--no-replace", refuseReplace, description);
}

Option addGridOption(const Command& command, QString& grid, const char* description)
{
    return command.value("--cfa", grid, "GRID", description).oneOfInAnyCase({"RGGB", "BGGR", "GBRG", "GRBG", "none"});
}
