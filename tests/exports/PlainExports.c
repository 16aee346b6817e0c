/* The plain exports as a C host uses them: two far groups of three points each. */
#include <stddef.h>
#include <stdio.h>

#include "Veltrix/Exports.h"

int main(void) {
    /* Column by column; read row by row the groups would fall apart. */
    const double values[] = {0.0, 50.0, 1.0, 51.0, 0.5, 50.5, 9.0, 90.0, 8.0, 91.0, 9.5, 90.5};
    int clusters[] = {-1, -1, -1, -1, -1, -1};
    int i;
    if (RunCluster(2, 6, values, 2, 100, 5, 12345, NULL) == 0) return 1;
    if (RunCluster(2, 6, values, 2, 100, 5, 12345, clusters) != 0) return 2;
    for (i = 0; i < 6; ++i) {
        printf("%d\n", clusters[i]);
        if (clusters[i] != clusters[i % 2] || clusters[i] < 0 || clusters[i] > 1) return 3;
    }
    VTX_DeleteStringArray(NULL);
    return clusters[0] == clusters[1] ? 4 : 0;
}
