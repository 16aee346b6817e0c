#pragma once

#include "Veltrix/Engine/DT.h"
#include "support/Json.h"

namespace Veltrix::Engine::DT {

class TreeJson {
  public:
    /// All members of a tree.
    static void write(Support::JsonWriter& json, const Model& model);
    /// Takes them over; throws `Support::JsonError` that names the key. `numClasses` is 0 in
    /// regression.
    static void read(const Support::JsonView& root, int numClasses, Model& model);

  private:
    static void readCategories(const Support::JsonView& root, Model& model);
    static void readNodes(const Support::JsonView& root, int numClasses, Model& model);
};

}  // namespace Veltrix::Engine::DT
