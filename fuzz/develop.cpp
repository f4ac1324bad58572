// TRW_RecipeCreate with any settings and TRW_Develop with any two buffers that are valid by
// themselves, at every level.
#include "raw/develop/develop.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "fuzz/buffers.h"
#include "fuzz/compare.h"
#include "trvil/raw.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    return trvil_fuzz_answer(handle, id, out);
}

namespace {

using fuzz::Answers;
using fuzz::Input;

uint32_t any_format(Input& in, bool developed) {
    using trv::Code;
    static constexpr Code sources[] = {Code::BAY8,  Code::BAY10, Code::BAY12_B,  Code::BAY14,
                                       Code::BAY16, Code::Mono8, Code::BAY10P_C, Code::Mono12P};
    static constexpr Code results[] = {Code::RGB48, Code::BGR48,  Code::RGB24, Code::BGR24,
                                       Code::Mono8, Code::BGRX32, Code::Mono16};
    if (in.one_in(16)) return in.byte();
    return trv::whole_code(trv::format_of(developed ? results[in.below(std::size(results))]
                                                    : sources[in.below(std::size(sources))]));
}

uint32_t any_method(Input& in) {
    static constexpr uint32_t methods[] = {TBL_BAYER_METHOD_DUP, TBL_BAYER_METHOD_AVE,
                                           TBL_BAYER_METHOD_MED, TRW_METHOD_GRADIENT, 7};
    return methods[in.below(std::size(methods))];
}

uint64_t line_of(const Answers& a, uint32_t packing) {
    const trv::raw::Packing* p = trv::raw::find_packing(packing);
    if (p != nullptr) return trv::raw::line_bytes(*p, a.packing_offset, a.width);
    if (a.known() == nullptr) return a.width;
    // Packed formats are read from their packing offset on, as packings are.
    const uint32_t before = trv::is_packed(*a.known()) ? a.packing_offset : 0;
    return trv::line_bytes(*a.known(), before + a.width);
}

Answers any_buffer(Input& in, uint32_t width, uint32_t height, uint32_t packing, bool developed) {
    Answers a{};
    a.present = !in.one_in(64);
    a.format = any_format(in, developed);
    a.width = in.one_in(32) ? in.below(40) : width;
    a.height = in.one_in(32) ? in.below(4) : height;
    a.method = any_method(in);
    a.phase = TBL_BAYER_PHASE_A + (TBL_BAYER_PHASE_B - TBL_BAYER_PHASE_A) * in.below(4);
    a.packing_offset = in.one_in(4) ? in.below(9) : 0;
    a.stride = static_cast<uint32_t>(line_of(a, packing)) + (in.one_in(2) ? 0 : in.below(30));
    if (in.one_in(32)) a.stride = in.below(200);
    return a;
}

// What lines at the stride take, up to the last byte of the last one.
size_t size_of(const Answers& a, uint32_t packing) {
    return a.height == 0 ? 0 : size_t{a.stride} * (a.height - 1) + line_of(a, packing);
}

double any_number(Input& in) {
    static constexpr double odd[] = {0,
                                     -1,
                                     1e300,
                                     -1e-300,
                                     std::numeric_limits<double>::infinity(),
                                     std::numeric_limits<double>::quiet_NaN()};
    if (in.one_in(16)) return odd[in.below(std::size(odd))];
    return (in.word() - 32768.0) / 16384;
}

// Of a later version, which goes on after the record.
struct LaterSettings {
    TRW_DevelopSettings known;
    uint8_t more[256];
};

TRW_DevelopSettings any_settings(Input& in, std::vector<TRW_Defect>* defects) {
    TRW_DevelopSettings s{};
    s.size = in.one_in(64) ? in.byte() : uint32_t{sizeof s};
    if (in.one_in(4)) s.format = any_format(in, false);
    if (in.one_in(2)) s.method = any_method(in);
    if (in.one_in(2)) s.phase = TBL_BAYER_PHASE_C;
    for (uint32_t& black : s.black) black = in.one_in(2) ? in.byte() : 0;
    if (in.one_in(4)) s.white = in.word();
    s.curve = in.below(4);
    s.gamma = any_number(in);
    if (in.one_in(2))
        for (double& gain : s.gains) gain = any_number(in);
    if (in.one_in(2))
        for (double& entry : s.matrix) entry = any_number(in);
    for (unsigned i = in.below(12); i > 0; --i) defects->push_back({in.below(40), in.below(9)});
    s.defects = defects->data();
    s.defect_count = defects->size();
    return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const geometry::Arena dark_arena(fuzz::arena_bytes), flat_arena(fuzz::arena_bytes);
    Input in(data, size);
    const uint32_t packing = in.one_in(3) ? in.below(trv::raw::packing_count + 2) : 0;
    const uint32_t width = in.below(70), height = in.below(9);
    std::vector<TRW_Defect> defects;
    LaterSettings later{any_settings(in, &defects), {}};
    TRW_DevelopSettings& settings = later.known;
    later.more[in.byte()] = in.one_in(16) ? 1 : 0;
    Answers from = any_buffer(in, width, height, packing, false),
            to = any_buffer(in, width, height, 0, true),
            dark = any_buffer(in, width, height, 0, false),
            flat = any_buffer(in, width, height, 0, false);
    const uint8_t sides = in.byte();
    // A format that is none says nothing of lines.
    const size_t to_size = size_of(to, 0) + (to.known() == nullptr ? size_t{6} * width : 0);
    from.address = fuzz::place(fuzz::source_arena(), size_of(from, packing), sides & 1);
    to.address = fuzz::place(fuzz::destination_arena(), to_size, sides & 2);
    dark.address = fuzz::place(dark_arena, size_of(dark, 0), sides & 4);
    flat.address = fuzz::place(flat_arena, size_of(flat, 0), sides & 8);
    if (in.one_in(3)) settings.dark = fuzz::handle_of(dark);
    if (in.one_in(3)) settings.flat = fuzz::handle_of(flat);
    in.fill(from.address, size_of(from, packing));
    in.fill(dark.address, size_of(dark, 0));
    in.fill(flat.address, size_of(flat, 0));
    const uint64_t source = fuzz::handle_of(from), destination = fuzz::handle_of(to);
    TRW_Recipe* recipe = nullptr;
    const char* why = nullptr;
    const uint32_t status = TRW_RecipeCreate(
        &recipe, source, packing, reinterpret_cast<const TRW_DevelopSettings*>(&later), &why);
    fuzz::require((status == TRV_STATUS_OK) == (recipe != nullptr), "a recipe after a success");
    fuzz::require((status == TRV_STATUS_OK) == (why == nullptr), "a reason after a failure");
    if (recipe == nullptr) return 0;
    uint8_t* const out = to.address;
    std::memset(out, 0x3C, to_size);
    const trv::raw::Cut cut = sides & 16 ? trv::raw::Cut{1, 1, 4} : trv::raw::usual_cut;
    fuzz::compare_each(
        trv::raw::levels, trv::raw::best_level(), out, to_size, [&](const trv::raw::Level& level) {
            return trv::raw::develop(level, source, destination, *recipe, nullptr, cut);
        });
    TRW_RecipeDestroy(&recipe);
    return 0;
}
