#pragma once

#include "host/stream_id.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// One file for all cameras of a place: who they are, how they are asked, and how they are to be set.

struct SSiteCredentials {
    std::string user;
    std::string passwordFile; // as it can be opened from here; its first line is the password
};

// How one stream is wanted.
struct SStreamWish {
    std::string name; // "CHANNEL,CODEC,STREAM"
    handler_impl::SVideoStreamId id;
    std::map<std::string, std::string> record; // field and value, in the recorder's form
};

// A difference that is known, and neither told nor mended before the day.
struct SIgnored {
    std::string of; // "adjustments.NAME" or "streams.CHANNEL,CODEC,STREAM.FIELD"
    std::string reason;
    std::string until; // "2027-03-31", from which on it counts again; empty: always ignored
};

// A camera, the file's defaults taken in.
struct SSiteCamera {
    std::string name;
    std::string address;
    std::string model;        // empty: it is asked
    std::string serialNumber; // empty: any
    std::string credentials;  // a name of SSite::credentials; empty: as the command line says
    std::vector<SStreamWish> streams;
    std::map<std::string, std::string> adjustments;
    std::optional<std::vector<int>> inputs; // alarm inputs from 0; absent: all that the camera has
    std::optional<int> rtspPort;            // absent: the model list's
    std::vector<std::string> tags;
    std::vector<SIgnored> ignored;
};

struct SSite {
    std::map<std::string, SSiteCredentials> credentials;
    std::vector<SSiteCamera> cameras; // in the file's order, their names all different
};

// What of the file the caller knows better.
struct SSiteVocabulary {
    std::vector<std::string> models;
    std::vector<std::string> adjustments;
    // Why the value cannot be what the adjustment is to be at a camera of the model (empty: not known);
    // nothing where it can. May be null.
    std::function<std::optional<std::string>(const std::string& adjustment, const std::string& model,
                                             const std::string& value)>
        refusedAdjustment;
};

// Reads a site file. Throws CFileError, as ReadJsonFile() does.
SSite ReadSiteFile(const std::string& file, const SSiteVocabulary& vocabulary);

} // namespace corvane::site
