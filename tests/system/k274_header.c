/* The public header and the control header as a plain C host sees them. */
#include "include/k274.h"
#include "scanner/virtual_scanner.h"

static void K274_CALLBACK OnState(int32_t state) { (void)state; }

int HeaderCompilesAsC(void);
int HeaderCompilesAsC(void) {
    K274_ScanStateCallback callback = OnState;
    K274_Status status = {0};
    VS_Fault fault = {VS_ANY_COMMAND, VS_IN, 1, 1, VS_FAULT_STALL, 0};
    return callback != 0 && status.cardWidth == 0 && fault.count == 1;
}
