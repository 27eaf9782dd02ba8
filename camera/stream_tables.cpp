#include "camera/stream_tables.h"
#include "camera/setting_keys.h"

#include "camera/cgi_paths.h"

namespace corvane::panasonic_camera {

namespace {

constexpr SCodedStream CodedStreams[] = {
    {VideoCodec::Mpeg4, false, key::Mpeg4Transmission, key::Mpeg4Priority, key::Mpeg4Rtsp, key::Mpeg4Size,
     key::Mpeg4FrameRate, key::Mpeg4Quality, key::Mpeg4Interval, key::Mpeg4BitRate, cgi::SetMpeg},
    {VideoCodec::Mpeg4, true, key::Mpeg4Transmission2, key::Mpeg4Priority2, key::Mpeg4Rtsp2, key::Mpeg4Size2,
     key::Mpeg4FrameRate2, key::Mpeg4Quality2, key::Mpeg4Interval2, key::Mpeg4BitRate2, cgi::SetMpegSecond},
    {VideoCodec::H264, false, key::H264Transmission, key::H264Priority, key::H264Rtsp, key::H264Size,
     key::H264FrameRate, nullptr, key::H264Interval, nullptr, cgi::SetH264},
    {VideoCodec::H264, true, key::H264Transmission2, key::H264Priority2, key::H264Rtsp2, key::H264Size2,
     key::H264FrameRate2, nullptr, key::H264Interval2, nullptr, cgi::SetH264Second},
};

constexpr SCodedFamily CodedFamilies[] = {
    {VideoCodec::Mpeg4, cgi::Mpeg4TransmitOn, cgi::Mpeg4RtspOn, "mpeg_resolution", "mpeg_Ivop"},
    {VideoCodec::H264, cgi::H264TransmitOn, cgi::H264RtspOn, "h264_resolution", "h264_Ivop"},
};

std::string TextOf(const char* name) {
    return name ? name : std::string();
}

} // namespace

const SCodedStream* FindCodedStream(VideoCodec codec, int stream) {
    for (const SCodedStream& row : CodedStreams)
        if (row.codec == codec && row.isSecond == (stream == SecondStream))
            return &row;
    return nullptr;
}

const SCodedFamily* FindCodedFamily(VideoCodec codec) {
    for (const SCodedFamily& row : CodedFamilies)
        if (row.codec == codec)
            return &row;
    return nullptr;
}

std::string NameForChannel(const SMjpegNames& names, int channel) {
    if (channel < 1)
        return names.firstChannel;
    return names.otherChannels + std::to_string(channel);
}

SStreamKeys KeysOfStream(const SVideoStreamId& id) {
    if (id.codec == VideoCodec::Mjpeg)
        return {NameForChannel(MjpegResolutionKey, id.channel), NameForChannel(MjpegFrameRateKey, id.channel),
                NameForChannel(MjpegQualityKey, id.channel), std::string(), std::string()};
    const SCodedStream* row = FindCodedStream(id.codec, id.stream);
    if (!row)
        return {};
    return {TextOf(row->resolution), TextOf(row->frameRate), TextOf(row->quality),
            TextOf(row->keyFrameInterval), TextOf(row->bitRate)};
}

std::vector<std::string> KeysOfAllStreams(int channels) {
    std::vector<std::string> keys;
    const auto add = [&keys](const SVideoStreamId& id) {
        const SStreamKeys of = KeysOfStream(id);
        for (const std::string* key :
             {&of.resolution, &of.frameRate, &of.quality, &of.keyFrameInterval, &of.bitRate})
            if (!key->empty())
                keys.push_back(*key);
    };
    for (const SCodedStream& row : CodedStreams) {
        keys.insert(keys.end(), {row.transmission, row.framePriority, row.rtspMode});
        add({0, row.codec, row.isSecond ? SecondStream : FirstStream});
    }
    for (int channel = 0; channel < channels; ++channel)
        add({channel, VideoCodec::Mjpeg, FirstStream});
    return keys;
}

} // namespace corvane::panasonic_camera
