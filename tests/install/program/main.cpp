// A C++11 program against the installed headers and libraries: it needs no service.
#include <flowrail1.h>
#include <zefaline.h>

#include <cstdio>

int main()
{
    ZEFA_LIBRARIES_STATUS status = ZEFA_LIBRARIES_STATUS();
    if (ZEFA_GetLibrariesStatus(&status) != ZEFA_ERR_OPERATION_FAILED) return 1;
    if (status.FlowRailVersion != CFlowRail::GetVersion()) return 2;
    ZEFA_HANDLE context = ZEFA_HANDLE();
    if (ZEFA_CreateMXSContext("https://localhost/", &context) != ZEFA_ERR_BAD_ARGUMENT) return 3;
    std::puts("C++ program: linked and answered");
    return 0;
}
