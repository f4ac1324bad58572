#include "grab/camera.h"

#include "tool/cli/text.h"

namespace trv::grab {

using tool::text;

namespace {

std::string or_empty(const char* words) {
    return words == nullptr ? "" : words;
}

std::string only_camera() {
    const std::vector<CameraFound> all = find_cameras();
    if (all.size() == 1) return all.front().id;
    if (all.empty())
        throw Failure(
            Exit::input, "there is no camera", "none answers on any interface",
            "check power, cable and addresses; a camera of another network answers to its "
            "address: `trvil grab ADDRESS`");
    std::vector<std::string> ids;
    for (const CameraFound& camera : all) ids.push_back(camera.id);
    throw Failure(Exit::usage, "which camera?", text("there are ", tool::list(ids)), "name one");
}

}  // namespace

std::string taken(GError** error) {
    const std::string words = *error == nullptr ? "" : or_empty((*error)->message);
    g_clear_error(error);
    return words;
}

std::vector<CameraFound> find_cameras() {
    arv_update_device_list();
    std::vector<CameraFound> result;
    for (unsigned i = 0; i < arv_get_n_devices(); ++i)
        result.push_back({or_empty(arv_get_device_id(i)), or_empty(arv_get_device_protocol(i)),
                          or_empty(arv_get_device_address(i)), or_empty(arv_get_device_vendor(i)),
                          or_empty(arv_get_device_model(i)),
                          or_empty(arv_get_device_serial_nbr(i))});
    return result;
}

CameraObject open_camera(const std::string& name) {
    const std::string wanted = name.empty() ? only_camera() : name;
    GError* error = nullptr;
    CameraObject camera(arv_camera_new(wanted.c_str(), &error));
    if (camera) return camera;
    throw Failure(Exit::input, text("cannot open camera ", wanted), taken(&error),
                  "`trvil grab --list` names the cameras; another program may have it open");
}

void set_features(ArvCamera* camera, const std::vector<std::string>& settings) {
    for (const std::string& setting : settings) {
        GError* error = nullptr;
        if (arv_device_set_features_from_string(arv_camera_get_device(camera), setting.c_str(),
                                                &error))
            continue;
        throw Failure(Exit::usage, text("cannot set ", setting), taken(&error),
                      "say Name=Value of a feature that the camera has");
    }
}

}  // namespace trv::grab
