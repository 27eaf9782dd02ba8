#pragma once

#include "host/gst_object.h"
#include "refhost/base/names.h"

#include <gst/gst.h>

#include <array>
#include <string>

namespace corvane::refhost {

// One kind of stream: how a camera's description names it, and what makes frames of its packets.
struct SRtspMedia {
    const char* media;                      // in the description
    std::array<const char*, 2> encodings{}; // likewise; with a "-" at its end the beginning of it
    const char* name;
    const char* elements; // from RTP packets to whole frames

    bool isOf(const std::string& encoding) const;
};

// Null for a codec that nobody understands.
const SRtspMedia* FindVideoMedia(VideoCodec codec);
const SRtspMedia& AudioMedia();

// Which medium of a description is taken: the first of the wanted encoding. Used on one thread.
class CRtspChoice {
public:
    explicit CRtspChoice(const SRtspMedia& wanted) : wanted_(wanted) {}

    // `medium` is the caps of its packets.
    bool takes(GstCaps* medium);
    // Why none was.
    CError refusal() const;

private:
    const SRtspMedia& wanted_;
    std::string otherEncoding_; // of the same kind
};

// Makes the elements that `media` names, a bin with the pads "sink" and "src". Fails with (OperationFailed,
// General) when one is not installed.
CError MakeMediaChain(const SRtspMedia& media, vorn_gst::v1_0::CGstRef<GstElement>& chain);

// Tells such a bin, before its first packet, what the description says of the stream: the frame rate, where
// frames do not tell it themselves, and in which order G.726 codewords come.
void DescribeToChain(GstElement* chain, GstCaps* medium);

} // namespace corvane::refhost
