#include "MatHandles.h"

namespace orn {
namespace matlab {

namespace {

// A function handle holds variables just as a cell array does, and as such matio frees them.
void makeFreeable(matvar_t* variable)
{
    if (!variable)
        return;
    if (variable->class_type == MAT_C_FUNCTION)
        variable->class_type = MAT_C_CELL;
    const bool holdsVariables = variable->class_type == MAT_C_CELL || variable->class_type == MAT_C_STRUCT;
    if (!holdsVariables || !variable->data || variable->data_size <= 0)
        return;
    auto* const* inner = static_cast<matvar_t**>(variable->data);
    for (size_t i = 0; i < variable->nbytes / static_cast<size_t>(variable->data_size); ++i)
        makeFreeable(inner[i]);
}

}  // namespace

void MatVarDeleter::operator()(matvar_t* variable) const
{
    makeFreeable(variable);
    Mat_VarFree(variable);
}

}  // namespace matlab
}  // namespace orn
