// What must not compile. Each marked line must give an error whose text holds what the mark says,
// and every other line must compile without a warning.

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Util.h"

using namespace Veltrix;

DataFrame makeFrame();
const Matrix makeConst();

void viewsOfTemporaries(DataFrame& frame, Matrix& matrix) {
    matrix(0, Util::all) = matrix(1, Util::all);
    (void)Matrix(2, 2)(0, Util::all);       // refused: deleted
    (void)Matrix(2, 2)(Util::all, 0);       // refused: deleted
    (void)(matrix + matrix)(0, Util::all);  // refused: deleted
    (void)makeConst()(0, Util::all);        // refused: deleted
    (void)makeConst()(Util::all, 0);        // refused: deleted
    (void)Matrix(2, 2)(0, 0);
    (void)Matrix(2, 2)(IntVector{0}, Util::all);
    (void)matrix(Util::all, Util::all);  // refused: no match
    frame(0, 0) = frame(0, L"a");
    (void)makeFrame()(0, 0);             // refused: deleted
    (void)makeFrame()(0, L"a");          // refused: deleted
    (void)makeFrame()(L"1", L"a");       // refused: deleted
    (void)makeFrame()(Util::all, 0);     // refused: deleted
    (void)makeFrame()(Util::all, L"a");  // refused: deleted
    (void)makeFrame()(0, Util::all);     // refused: deleted
    (void)makeFrame()(IntVector{0}, Util::all);
}

void readOnlyViews(const DataFrame& frame, const Matrix& matrix) {
    (void)matrix(0, Util::all)(0);
    matrix(0, Util::all) = Vector(2);  // refused: =
    matrix(0, Util::all)(0) = 1.0;     // refused: assign
    frame(0, 0) = 1.0;                 // refused: =
}

void texts() {
    const WString text(L"a");
    const WString null(nullptr);  // refused: deleted
    (void)(text == L"a");
}

// Compiled with warnings for changes of sign.
double indexes(Vector& v, const IntVector& k, const StringVector& s, short i, unsigned j) {
    v[k[i]] = v[j];
    v.size();  // refused: nodiscard
    return v[i] + s[k[0]][0];
}
