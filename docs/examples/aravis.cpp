// Ten frames of a GenICam camera, demosaiced where the camera's driver left them; the last as a
// TIFF.
#include <arv.h>
#include <cstdio>

#include <trvil/aravis.hpp>

int main(int count, char** words) try {
    GError* error = nullptr;
    ArvCamera* camera = arv_camera_new(count > 1 ? words[1] : nullptr, &error);
    if (camera == nullptr) throw std::runtime_error(error->message);
    if (arv_camera_is_gv_device(camera))
        arv_camera_gv_set_stream_options(camera, ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    if (stream == nullptr) throw std::runtime_error(error->message);
    const guint payload = arv_camera_get_payload(camera, nullptr);
    for (int i = 0; i < 16; ++i) arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
    arv_camera_start_acquisition(camera, nullptr);

    const trvil::Pool pool;  // a thread for each processor
    trvil::Buffer picture;
    for (int whole = 0; whole < 10;) {
        ArvBuffer* frame = arv_stream_timeout_pop_buffer(stream, 5000000);
        if (frame == nullptr) throw std::runtime_error("no frame came for 5 s");
        if (arv_buffer_get_status(frame) != ARV_BUFFER_STATUS_SUCCESS) {
            arv_stream_push_buffer(stream, frame);  // packets were lost
            continue;
        }
        const trvil::RawPicture raw = trvil::wrap(frame, stream);  // goes back by itself
        picture = trvil::convert(raw, trvil::Format::BGR24, trvil::Method::ave, &pool);
        ++whole;
    }
    trvil::write(picture, "frame.tif");

    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
