// Exported functions: what a video standard means. No context, no service, no trace.
#include "zefaline/video_standards.h"

#include "api/CallFrame.h"
#include "core/VideoStandards.h"

using namespace Quillmont::Trellis::Zefa;

ZEFA_ERRORCODE ZEFA_ST2110_20_GetVideoStandardInfo(ZEFA_VIDEO_STANDARD VideoStandard_E, uint32_t* pWidth_UL,
                                                   uint32_t* pHeight_UL, uint32_t* pRate_UL, uint8_t* pInterlaced_B,
                                                   uint8_t* pFractional_B)
{
    if (!pWidth_UL || !pHeight_UL || !pRate_UL || !pInterlaced_B || !pFractional_B)
        return Fail(ZEFA_ERR_INVALID_POINTER, "One of the pointer is null. \r\n");
    const VideoStandardRow* row = FindVideoStandard(VideoStandard_E);
    if (!row) return ZEFA_ERR_NOT_FOUND;
    *pWidth_UL = row->Width;
    *pHeight_UL = row->Height;
    *pRate_UL = row->Rate;
    *pInterlaced_B = row->Interlaced ? 1 : 0;
    *pFractional_B = row->Fractional ? 1 : 0;
    return ZEFA_NO_ERROR;
}

// A number that no standard has gives zeros and success, and from then on counts as a standard of zeros.
ZEFA_ERRORCODE ZEFA_GetAncSdiVideoStandardInfo(ZEFA_SDI_VIDEO_STANDARD VideoStandard_E, uint32_t* pTotalSamples_UL,
                                               uint32_t* pActiveSamples_UL, uint32_t* pTotalLines_UL,
                                               uint32_t* pActiveLines_UL, uint32_t* pRate_UL, uint8_t* pInterlaced_B,
                                               uint8_t* pFractional_B)
{
    const VideoStandardRow& row = SdiStandardMaking(VideoStandard_E);
    *pTotalSamples_UL = row.TotalSamples;
    *pActiveSamples_UL = row.ActiveSamples;
    *pTotalLines_UL = row.TotalLines;
    *pActiveLines_UL = row.ActiveLines;
    *pInterlaced_B = row.Progressive == 0 ? 1 : 0;
    *pRate_UL = row.Progressive != 0 ? uint32_t{row.FrameRate} : 2U * row.FrameRate; // fields when interlaced
    *pFractional_B = static_cast<uint8_t>(row.SdiFractional & 0xFF);
    return ZEFA_NO_ERROR;
}
