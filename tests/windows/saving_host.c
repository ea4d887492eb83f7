/* A host that scans one virtual card, saves it twice under automatic names and once under a name of its own,
 * with its settings file and log in the current folder. Argument: that folder, with its separator. */
#include "include/k274.h"

#include <stdio.h>

#ifdef _WIN32
#include <windows.h>
static void Pause(unsigned milliseconds) { Sleep(milliseconds); }
#else
#include <unistd.h>
static void Pause(unsigned milliseconds) { usleep(milliseconds * 1000); }
#endif

static _Atomic int32_t complete, ready;

static void K274_CALLBACK OnState(int32_t state) {
    if (state == K274_STATE_COMPLETE)
        complete = 1;
    if (state == K274_STATE_BARCODE_READY)
        ready = 1;
}

int main(int argc, char **argv) {
    int failures = 0;
    if (argc != 2)
        return 2;
    K274_SetLogPath(argv[1]);
    K274_RegNewScanCB(OnState);
    K274_Init(0);
    for (int i = 0; i < 3000 && !(complete && ready); ++i)
        Pause(10);
    failures += !complete + !ready;
    failures += K274_Save("") != 0;
    failures += K274_Save(NULL) != 0;
    failures += K274_Save("named.tif") != 0;
    K274_Close();
    Pause(200);
    if (failures)
        fprintf(stderr, "%d checks failed\n", failures);
    return failures;
}
