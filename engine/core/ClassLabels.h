#pragma once

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/Roles.h"

/// @file
/// The labels of records as places in a list of classes.

namespace Veltrix::Engine {

/// "0", "1", … for classes that have no other names.
StringVector numberedClasses(int count);

/// The place of every label in the class list, the first of several; −1 for labels of no class.
IntVector placesAmong(const StringVector& classes, const StringVector& labels);

struct CodedLabels {
    StringVector classes;
    IntVector codes;  ///< one a record
};
/// The labels of a column as codes of `classes`, −1 for others, or, when there are none, of its
/// distinct labels, ascending.
CodedLabels codeLabels(const ConstDataFrameColumn& labels, const StringVector& classes);

/// Throws `Exception` when a code is −1; `labels` is what the codes were made of.
void requireClasses(const char* operation, const ConstDataFrameColumn& labels,
                    const IntVector& codes);

/// Priors, unless there are some, become the classes' shares of the records. One count a class.
void fitPriors(Classification::Modelable& roles, const Vector& counts);

}  // namespace Veltrix::Engine
