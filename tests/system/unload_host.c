/* A host that loads the library at run time and unloads it in the middle of a scan: the library's threads
 * must neither crash nor hang it. Argument: the library. The environment names virtual cards. */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

static _Atomic int32_t lastState;

static void OnState(int32_t state) { lastState = state; }

int main(int argc, char **argv) {
    for (int round = 0; argc == 2 && round < 2; ++round) {
        void *library = dlopen(argv[1], RTLD_NOW);
        if (!library) {
            fprintf(stderr, "%s\n", dlerror());
            return 2;
        }
        int32_t (*init)(int32_t);
        void (*listen)(void (*)(int32_t));
        void (*stop)(void);
        *(void **)&init = dlsym(library, "K274_Init");
        *(void **)&listen = dlsym(library, "K274_RegNewScanCB");
        *(void **)&stop = dlsym(library, "K274_Close");
        listen(OnState);
        init(0);
        lastState = 0;
        for (int i = 0; i < 2000 && lastState != 1; ++i)
            usleep(5000);
        if (lastState != 1)
            return 3;
        if (round == 1)
            stop();
        dlclose(library);
    }
    return 0;
}
