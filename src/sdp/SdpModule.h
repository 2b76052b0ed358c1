// The one implementation of ISdpModule: what ST 2110 means in the lines of a description.
#pragma once

#include "sdp/ISdpModule.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <string_view>

namespace quill::sdp_module
{

class SdpModule : public ISdpModule
{
public:
    SdpModule(SdpSink errorSink, SdpSink warningSink);
    ~SdpModule() override;
    SdpModule(const SdpModule&) = delete;
    SdpModule& operator=(const SdpModule&) = delete;

    void SetSession(const SdpSession& session) override;
    void SetMedias(SdpMediaList& medias) override;
    SdpCode Write(std::string* text) override;
    SdpSession GetSession() const override;
    SdpMediaList& GetMedias() override;
    SdpCode Read(const std::string& text) override;

private:
    // Steps of Read in SdpModule.cpp: the session, and what all media share.
    SdpCode ParseSdpSession(const nlohmann::json& tree);
    SdpCode ParseSdpOrigin(const nlohmann::json& origin);
    SdpCode ConvertIpAddress(const std::string& text, uint32_t version, SdpIpAddress& address);
    SdpCode ParseSdpMedias(const nlohmann::json& tree);
    SdpCode ParseSdpMedia(const nlohmann::json& media, size_t index);
    SdpCode ParsePayloads(const nlohmann::json& media, size_t index, uint8_t& payloadType);
    SdpCode ParseConnection(const nlohmann::json& connection, SdpIpAddress& address);
    SdpCode ParseRefClock(const std::string& value, SdpRefClock& clock);
    SdpCode ParseTimestamps(const nlohmann::json& formats, SdpMedia& record);

    // Steps of Read in SdpModuleEssence.cpp. `record` is set on success alone; a media whose kind is not supported is
    // told to the warning sink and is a success without a record.
    SdpCode ParseVideoMedia(const nlohmann::json& media, std::unique_ptr<SdpMedia>& record);
    SdpCode ParseAudioMedia(const nlohmann::json& media, std::unique_ptr<SdpMedia>& record);
    SdpCode ParseVideoConfig(const std::string& config, SdpMediaVideo& video);
    SdpCode ParseAncConfig(const std::string& config, SdpMediaAnc& anc);
    SdpCode ParseAudioConfig(const std::string& config, SdpMediaAudio& audio);
    SdpCode ReadAudioFields(const nlohmann::json& media, SdpMediaAudio& audio);

    // Steps of Write in SdpModuleWriter.cpp, which build the tree. A step that fails leaves its part half made.
    SdpCode WriteSdpSession();
    SdpCode WriteSdpOrigin(nlohmann::json& origin);
    SdpCode WriteSdpMedias();
    SdpCode WriteSdpMedia(const SdpMedia& record, nlohmann::json& media);
    SdpCode WriteSdpConnection(const SdpIpAddress& address, nlohmann::json& connection);
    SdpCode WriteAudioMedia(const SdpMediaAudio& record, nlohmann::json& media);
    SdpCode WriteAncMedia(const SdpMedia& record, nlohmann::json& media); // video too
    SdpCode WriteVideoConfig(const SdpMediaVideo& record, std::string& config);
    SdpCode WriteAncConfig(const SdpMediaAnc& record, std::string& config);
    SdpCode WriteTimestamps(const SdpMedia& record, nlohmann::json& media);
    void WriteSdpGroups();

    SdpCode Fail(SdpCode code, const std::string& message) const;

    SdpSink ErrorSink;
    SdpSink WarningSink;
    nlohmann::json Tree;
    bool SessionSet = false;
    SdpSession Session{};
    SdpMediaList Medias;
};

/// The string that a tree value holds, without a copy. Any other kind raises the tree's error "type must be string, but
/// is" with the kind.
const std::string& StringOf(const nlohmann::json& value);

/// The frame rate of an "exactframerate": 25, or 30000/1001 as 30 with the fraction set. Any other form is
/// kSdpValueUnsupported.
SdpCode ParseFrameRate(std::string_view text, uint32_t& rate, bool& is1001);

} // namespace quill::sdp_module
