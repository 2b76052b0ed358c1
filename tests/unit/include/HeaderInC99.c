/* The whole header in C99, with its constants used as an application uses them. */
#include "HeaderSizes.h"

const size_t SizesInC99[HEADER_SIZE_COUNT] = {HEADER_SIZES};

int UseConstantsInC99(ZEFA_ERRORCODE code, ZEFA_VIDEO_STANDARD standard)
{
    ZEFA_ESSENCE_CONFIG config = {0};
    config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20;
    config.Essence_X.ST2110_20_X.VideoStandard_E = ZEFA_VIDEO_STANDARD_UNKNOWN;
    switch (code)
    {
    case ZEFA_NO_ERROR: return standard == ZEFA_VIDEO_STANDARD_1920X1080_P_59_94 ? 1 : 2;
    case ZEFA_ERR_TIMEOUT: return config.Essence_X.ST2110_20_X.VideoStandard_E;
    default: return 0;
    }
}
