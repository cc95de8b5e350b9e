/**
 * @file
 * matio's handles, released by scope.
 */
#pragma once

#include <matio.h>

#include <memory>

namespace orn {
namespace matlab {

struct MatCloser {
    void operator()(mat_t* mat) const { Mat_Close(mat); }
};
/** Mat_VarFree(), and what it forgets: the variables within a function handle. */
struct MatVarDeleter {
    void operator()(matvar_t* variable) const;
};

using MatHandle = std::unique_ptr<mat_t, MatCloser>;            ///< an open MAT file
using MatVarHandle = std::unique_ptr<matvar_t, MatVarDeleter>;  ///< a variable, with or without its data

}  // namespace matlab
}  // namespace orn
