// The reader and writer of ST 2110 descriptions, as the exported functions see it.
#pragma once

#include "sdp/SdpRecords.h"

#include <functional>
#include <memory>
#include <string>

namespace quill::sdp_module
{

/// Takes one sentence for the user. An empty one raises std::bad_function_call at the first message.
using SdpSink = std::function<void(const std::string&)>;

/// Result of the module's operations; no ZEFA_ERRORCODE.
using SdpCode = uint32_t;
inline constexpr SdpCode kSdpSuccess = 0;
inline constexpr SdpCode kSdpValueMissing = 1;     // a mandatory ST 2110 value
inline constexpr SdpCode kSdpValueUnsupported = 2; // a value that no table has
inline constexpr SdpCode kSdpLineWrong = 3;        // a line or an attribute of the media is missing or wrong
inline constexpr SdpCode kSdpNoMedia = 4;          // the tree has no list of media
inline constexpr SdpCode kSdpNoTarget = 5;         // no string to write to

/// Serves one operation of one thread: created, fed, read out, destroyed.
class ISdpModule
{
public:
    virtual ~ISdpModule() = default;

    /// Copies the session's record into the module.
    virtual void SetSession(const SdpSession& session) = 0;

    /// Destroys the records that the module holds and takes over those of the list, whose places are empty afterwards.
    virtual void SetMedias(SdpMediaList& medias) = 0;

    /// Writes the session's record, if one was set, and the records of the list as a description. The string is
    /// assigned on success alone: kSdpNoTarget for a null pointer, kSdpValueUnsupported for an enumeration without a
    /// spelling or a media of no known type. Texts are written as they stand, line ends and bytes that are not UTF-8
    /// included.
    virtual SdpCode Write(std::string* text) = 0;

    virtual SdpSession GetSession() const = 0;

    /// The module's own list; good as long as the module lives. No place in it is empty after a read.
    virtual SdpMediaList& GetMedias() = 0;

    /// Reads a description into the session's record and adds a record for each media to the list. A failure leaves
    /// the records made so far. What the tree and the number conversions throw passes through: a media without a type,
    /// a video without any format parameter, a number that is none.
    virtual SdpCode Read(const std::string& text) = 0;
};

/// Makes a module that speaks through the two sinks; null if there is no memory.
std::unique_ptr<ISdpModule> CreateSdpModule(SdpSink errorSink, SdpSink warningSink);

} // namespace quill::sdp_module
