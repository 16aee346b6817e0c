// Turns a text column into 0/1 columns, and a column of many levels into a few codes.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    DataFrame sales(L"sales");
    sales.append(StringVector{L"south", L"north", L"south", L"east", L"south"}, L"region");
    Vector price{1.5, 2.5, 3.5, 4.5, 5.5};
    price.setName(L"price");
    sales.append(price);

    Engine::Encoder encoder;
    encoder.fit(sales);
    const DataFrame coded = encoder.transform(sales);
    for (const WString& name : coded.getColNames()) std::printf("%14s", name.toUtf8().c_str());
    std::printf("\n");
    for (int i = 0; i < coded.getNumRows(); ++i) {
        for (int j = 0; j < coded.getNumCols(); ++j) std::printf("%14g", coded(i, j).toDouble());
        std::printf("\n");
    }

    Engine::CatReducer reducer;
    reducer.setNumCategories(2).fit(sales(Util::all, L"region"));
    for (const wchar_t* region : {L"south", L"east", L"west"}) {
        std::printf("%s has code %d\n", WString(region).toUtf8().c_str(),
                    reducer.getMapping(region));
    }
}
