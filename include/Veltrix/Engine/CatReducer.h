#pragma once

#include <string_view>
#include <unordered_map>

#include "Veltrix/Data/DataFrameViews.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine {

/// Reduces a categorical variable to k codes: the k − 1 most frequent levels get codes 1 to k − 1,
/// most frequent first and equal counts in ascending order of the level; all others share code k.
class VELTRIX_ENGINE_API CatReducer : public JSON::Storable {
  public:
    using Mapper = std::unordered_map<WString, int>;

    CatReducer() = default;
    CatReducer(const CatReducer&) = default;
    CatReducer(CatReducer&&) noexcept = default;
    CatReducer& operator=(const CatReducer& other) { return *this = CatReducer(other); }
    CatReducer& operator=(CatReducer&&) noexcept = default;
    ~CatReducer() override;

    /// Stored unchecked; with k below 2 every level gets code k.
    CatReducer& setNumCategories(int k);
    int getNumCategories() const noexcept { return numCategories_; }
    /// Whether `fit` leaves the codes as they were set by hand.
    CatReducer& setManualMapping(bool manual);
    bool getManualMapping() const noexcept { return manualMapping_; }
    /// Sets all codes; stored unchecked.
    CatReducer& setMapper(const Mapper& mapper);
    const Mapper& getMapper() const noexcept { return mapper_; }
    /// Sets the code of one level.
    CatReducer& setMapping(const WString& level, int code);
    /// The code of a level; 0 for an unknown one.
    int getMapping(const WString& level) const;

    /// Learns the codes from the levels that occur, forgetting those before; does nothing under
    /// manual mapping.
    CatReducer& fit(const StringVector& values);
    CatReducer& fit(const ConstDataFrameColumn& column);
    /// The codes of the values in order; 0 for an unknown level.
    IntVector transform(const StringVector& values) const;
    IntVector transform(const ConstDataFrameColumn& column) const;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<CatReducer>;

    int numCategories_ = 1;
    bool manualMapping_ = false;
    Mapper mapper_;
};

}  // namespace Veltrix::Engine
