#pragma once

#include <map>
#include <string_view>
#include <unordered_map>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine {

/// One-hot encoding: replaces a categorical column by one 0/1 column per category, 1 in the rows
/// that hold the category. No category is left out as a base. A missing cell of a text column is
/// the empty text, a category like any other; cells of a column of numbers are taken by their text.
class VELTRIX_ENGINE_API Encoder : public JSON::Storable {
  public:
    /// The categories of one column and the positions of their indicator columns: 0, 1, …, each
    /// once.
    using CategoryMap = std::map<WString, int>;
    /// Column name to categories.
    using Mapping = std::unordered_map<WString, CategoryMap>;

    Encoder() = default;
    Encoder(const Encoder&) = default;
    Encoder(Encoder&&) noexcept = default;
    Encoder& operator=(const Encoder& other) { return *this = Encoder(other); }
    Encoder& operator=(Encoder&&) noexcept = default;
    ~Encoder() override;

    /// Learns the categories of every text column, forgetting what was known before; columns of
    /// numbers are left alone.
    Encoder& fit(const DataFrame& frame);
    /// Learns the listed columns, whatever their kind. Throws `Exception` for a column that does
    /// not exist; what was known before then stays.
    Encoder& fit(const DataFrame& frame, const IntVector& columnIndexes);
    Encoder& fit(const DataFrame& frame, const StringVector& columnNames);
    /// Every distinct value with its place in ascending order.
    static CategoryMap getCatColMapping(const StringVector& values);

    /// The frame with the indicator columns of every known column, in the order of their positions,
    /// in its place; other columns, frame name and row names stay. Throws `OneHotEncoderFailure`
    /// for a value that is no known category, and `Exception` when a known column is missing.
    DataFrame transform(const DataFrame& frame) const;
    /// The indicator columns (whole numbers, n rows) of the known column of that name, named
    /// `Util::generateColName(column name, category)`; the frame has the column's name. Throws
    /// `OneHotEncoderFailure` as `transform`, and `Exception` when the column is not known.
    DataFrame transformCatCol(const ConstDataFrameColumn& column) const;

    /// Names of the known columns, ascending.
    StringVector getEncodedColNames() const;
    int getNumCatCols() const noexcept { return static_cast<int>(mapping_.size()); }
    bool isEncoded(const WString& colName) const;
    const Mapping& getMapping() const noexcept { return mapping_; }
    /// Sets the categories of one column by hand. Throws `Exception` when the positions are not
    /// 0, 1, …, each once.
    Encoder& setMapping(const WString& colName, const CategoryMap& categories);
    /// Replaces all that is known; throws as for one column and then changes nothing.
    Encoder& setMapping(const Mapping& mapping);

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Encoder>;

    Mapping mapping_;
};

}  // namespace Veltrix::Engine
