#pragma once

#include <memory>
#include <string>

#include "tools/veltrix/host/Family.h"

namespace Veltrix::Tool {

/// A fitted model with what scoring a file needs beside it.
struct StoredModel {
    std::unique_ptr<Family> family;
    RecordFamily* records = nullptr;      ///< the family, when it scores records
    DocumentFamily* documents = nullptr;  ///< the family, when it scores documents
    std::string target;                   ///< of records
    PredictorCoding coding;               ///< of records
};

/// JSON text: type, version, family, target, predictors, and the family's own fields.
std::string writeModel(const std::string& target, const PredictorCoding& coding,
                       const Family& family);
/// The same of a family that read its own input, without target and predictors.
std::string writeModel(const Family& family);

/// Reads a file written from `writeModel`, of any family that scores. Throws `UserError`
/// that names the offending key when it is damaged, of another version or family, or something
/// else.
StoredModel readModel(const std::string& path);

}  // namespace Veltrix::Tool
