#pragma once

#include <cstddef>

namespace corvane::torture {

// What a program asks its system for, and may not get.
enum class Resource { Memory, Thread, Descriptor };

// From here on the calls for the resource are counted that are made on behalf of the plug-in or the
// framework: by either itself, or for it by the standard library, Boost, libcurl, SQLite, spdlog or libfmt.
// GLib, GStreamer and the C library are left alone: GLib ends the process when it gets no memory, by its own
// contract; and so does the plug-in's handler with the two tables that it asks for with std::nothrow.
//
// The call with the given number, from 1, fails, and where it was made is written to `traceTo`; with 0 none
// does.
void FailCall(Resource resource, std::size_t number, int traceTo);
// Ends that; returns how many calls there were.
std::size_t CountedCalls();

} // namespace corvane::torture
