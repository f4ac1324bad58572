#include "image/dispatch/level.h"

namespace trv {

const Level levels[level_count] = {
    {level_names[0], &scalar::bayer_spans, &scalar::direct_rows, &scalar::field_rows},
    {level_names[1], &v2::bayer_spans, &v2::direct_rows, &v2::field_rows},
    {level_names[2], &v3::bayer_spans, &v3::direct_rows, &v3::field_rows},
    {level_names[3], &v4::bayer_spans, &v4::direct_rows, &v4::field_rows},
};

namespace {

// Written once, by the loader, before any caller can be here.
unsigned chosen = 0;

__attribute__((constructor)) void choose_level() {
    chosen = highest_level();
}

}  // namespace

unsigned best_level() {
    return chosen;
}

const Level& current_level() {
    return levels[chosen];
}

}  // namespace trv
