/* A host made outside the tree, as its makers would: C99, the installed header, the installed library. Scans
 * one virtual card and asks about it. Arguments: the file for the scan; a folder, with its separator, for the
 * log and the settings file: then the scan is saved twice under automatic names, too. */
#include <k274.h>

#include <stdio.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
#define Pause(milliseconds) Sleep(milliseconds)
#else
#define _DEFAULT_SOURCE
#include <unistd.h>
extern int usleep(unsigned microseconds);
#define Pause(milliseconds) usleep((milliseconds)*1000u)
#endif

static volatile int32_t seen[K274_STATE_CONNECTED + 1];

static void K274_CALLBACK OnState(int32_t state) {
    if (state >= 0 && state <= K274_STATE_CONNECTED)
        seen[state] = 1;
}

static int Await(int32_t state) {
    int i;
    for (i = 0; i < 3000 && !seen[state]; ++i)
        Pause(10);
    return seen[state];
}

int main(int argc, char **argv) {
    K274_Version version;
    K274_Status status;
    K274_Magnetic magnetic;
    K274_Barcode barcode;
    K274_Afe afe;
    uint8_t information[256];
    uint32_t variant = 9;
    int failures = 0;

    if (argc < 2)
        return 2;
    K274_SetLogPath(argc > 2 ? argv[2] : NULL);
    K274_RegNewScanCB(OnState);
    K274_SetBcDecMode(1);
    K274_Init(0);
    if (!Await(K274_STATE_CONNECTED) || !Await(K274_STATE_COMPLETE) || !Await(K274_STATE_BARCODE_READY)) {
        fprintf(stderr, "no scan\n");
        return 1;
    }
    K274_GetVersion(&version);
    K274_UpdateStatus(&status);
    K274_GetMag(&magnetic);
    K274_GetBC(&barcode);
    failures += version.library[0] != 2;
    failures += status.cardWidth < 1800 || status.cardWidth > 1900;
    failures += magnetic.tracks[1].count == 0;
    failures += barcode.pdfLength == 0;
    failures += K274_GetImgNatFr()[3 * (500 * K274_NAT_WIDTH + 500)] == 0;
    failures += K274_UsbIsOnline() != 1;
    failures += K274_GefXfrErrs() != 0;
    failures += K274_AfeRegs(&afe, 0) != 0;
    if (argc > 2)
        failures += K274_Save("") != 0 || K274_Save(NULL) != 0;
    failures += K274_Save(argv[1]) != 0;
    failures += K274_Open(argv[1], &variant) != 0 || variant != 0;
    K274_GetInfo(information);
    failures += memcmp(information, "II", 2) != 0;
    K274_RegNewScanCB(NULL);
    K274_Close();
    Pause(200);
    if (failures)
        fprintf(stderr, "%d checks failed\n", failures);
    return failures != 0;
}
