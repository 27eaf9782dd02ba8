#include "camera/stream_tables.h"

#include "camera/cgi_paths.h"

namespace corvane::panasonic_camera {

namespace {

constexpr SCodedStream CodedStreams[] = {
    {VideoCodec::Mpeg4, false, "MPEG", "FPRIORITY", "RTSPMODE", "MPEGSIZE", "NRFRAMERATE", "MPEGQUAL", "RINT",
     "MPEGBWC", cgi::SetMpeg},
    {VideoCodec::Mpeg4, true, "MPEG_2", "FPRIORITY_2", "RTSPMODE_2", "MPEGSIZE_2", "NRFRAMERATE_2",
     "MPEGQUAL_2", "RINT_2", "MPEGBWC_2", cgi::SetMpegSecond},
    {VideoCodec::H264, false, "H264", "H264FPRIORITY", "H264RTSPMODE", "H264SIZE", "H264NRFRAMERATE", nullptr,
     "H264RINT", nullptr, cgi::SetH264},
    {VideoCodec::H264, true, "H264_2", "H264FPRIORITY_2", "H264RTSPMODE_2", "H264SIZE_2", "H264NRFRAMERATE_2",
     nullptr, "H264RINT_2", nullptr, cgi::SetH264Second},
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
