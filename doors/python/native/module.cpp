// velmorant._native: the library for the package's own sources. What people use is made of it in velmorant/.

#include "doors/python/native/calls.h"

PYBIND11_MODULE(_native, module)
{
    DefineErrors(module);
    DefineCatalogue(module);
    DefinePictures(module);
    DefineRecipes(module);
    DefineRuns(module);
}
