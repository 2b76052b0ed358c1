/* A C99 program against the installed header and library: it needs no service. */
#include <zefaline.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    char text[20];
    uint32_t width = 0, height = 0, rate = 0;
    uint8_t interlaced = 9, fractional = 9;
    ZEFA_LIBRARIES_STATUS status;
    memset(&status, 0, sizeof status);

    if (ZEFA_ErrorToString(ZEFA_ERR_COMMUNICATION, text) != ZEFA_NO_ERROR) return 1;
    if (strcmp(text, "Communication error") != 0) return 2;
    if (ZEFA_ST2110_20_GetVideoStandardInfo(7, &width, &height, &rate, &interlaced, &fractional) != ZEFA_NO_ERROR)
        return 3;
    if (width != 1920 || height != 1080 || rate != 60 || interlaced != 1 || fractional != 1) return 4;
    /* Answers "Operation failed" with the structure filled. */
    if (ZEFA_GetLibrariesStatus(&status) != ZEFA_ERR_OPERATION_FAILED) return 5;
    if (status.ZefalineVersion != 0x0001000300000000ULL || status.FlowRailVersion == 0) return 6;
    printf("C program: %s\n", text);
    return 0;
}
