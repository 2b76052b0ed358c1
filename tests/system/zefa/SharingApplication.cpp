// An application that shares a conductor on core 0 until its standard input ends: SharingApplication URL.
#include <cstdio>
#include <zefaline.h>

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    ZEFA_HANDLE context = nullptr;
    uint64_t conductor = 0;
    ZEFA_CONDUCTOR_CONFIG config{};
    if (ZEFA_CreateMXSContext(argv[1], &context) != ZEFA_NO_ERROR) return 1;
    if (ZEFA_GetCPUCoreFromOSId(context, 0, &config.CpuCoreId_ULL) != ZEFA_NO_ERROR) return 1;
    if (ZEFA_CreateConductor(context, 1, &conductor) != ZEFA_NO_ERROR) return 1;
    if (ZEFA_SetConductorConfig(context, conductor, &config) != ZEFA_NO_ERROR) return 1;
    std::puts("shared");
    std::fflush(stdout);
    while (std::getchar() != EOF)
        continue;
    ZEFA_DestroyConductor(context, conductor);
    return ZEFA_DestroyMXSContext(context) == ZEFA_NO_ERROR ? 0 : 1;
}
