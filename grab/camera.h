// Cameras by Aravis, with what goes wrong in the tool's words.
#pragma once

#include <arv.h>

#include <memory>
#include <string>
#include <vector>

#include "tool/cli/error.h"

namespace trv::grab {

using tool::Exit;
using tool::Failure;

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using CameraObject = std::unique_ptr<ArvCamera, Unref>;
using StreamObject = std::unique_ptr<ArvStream, Unref>;
using BufferObject = std::unique_ptr<ArvBuffer, Unref>;

// What Aravis says of an error, which is taken from it and empty again.
std::string taken(GError** error);

struct CameraFound {
    std::string id, protocol, address, vendor, model, serial;
};

// Asks all interfaces; this takes about a second.
std::vector<CameraFound> find_cameras();

// By an identifier of the list or an address; by nothing the only one there is. Throws Failure.
CameraObject open_camera(const std::string& name);

// "Name=Value" of the camera's features, in this order. Throws Failure.
void set_features(ArvCamera* camera, const std::vector<std::string>& settings);

}  // namespace trv::grab
