/* The public headers are plain C11. */
#include <ferrowcore/ferrowcore.h>

void headerIsPlainC(void) { asyncObject_release(0); }
