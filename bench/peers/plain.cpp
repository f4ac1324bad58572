// The loops that a user would write, as g++ makes them with -O3 for the machine at hand.
#include "bench/peers/plain_bayer.h"
#include "bench/peers/plain_direct.h"
#include "bench/peers/plain_field.h"

namespace peers {
namespace {

using plain::Convert;

struct Row {
    Code from, to;
    Convert convert;
};

// Sizes are those of the source; its lines are tight, as everywhere here.
const Row direct_rows[] = {
    {Code::BGR24, Code::BGRX32, plain::pixels<3, 4, plain::Bytes<0, 1, 2>>},
    {Code::BGRX32, Code::BGR24, plain::pixels<4, 3, plain::Bytes<0, 1, 2>>},
    {Code::BGR24, Code::RGB24, plain::pixels<3, 3, plain::Bytes<2, 1, 0>>},
    {Code::RGB24, Code::BGRX32, plain::pixels<3, 4, plain::Bytes<2, 1, 0>>},
    {Code::RGBA32, Code::BGRX32, plain::pixels<4, 4, plain::Bytes<2, 1, 0, 3>>},
    {Code::BGRX32, Code::BGRX32, plain::pixels<4, 4, plain::Bytes<0, 1, 2, 3>>},
    {Code::BGR24, Code::BGR48, plain::pixels<3, 6, plain::Widen<3>>},
    {Code::BGR24, Code::RGB16, plain::pixels<3, 2, plain::Word565>},
    {Code::BGR24, Code::RGB30, plain::pixels<3, 4, plain::Word30>},
    {Code::Mono8, Code::BGR24, plain::pixels<1, 3, plain::Bytes<0, 0, 0>>},
    {Code::Mono8, Code::BGRX32, plain::pixels<1, 4, plain::Bytes<0, 0, 0, 0>>},
    {Code::Mono8, Code::RGB16, plain::pixels<1, 2, plain::Grey565>},
    {Code::Mono8, Code::Mono16, plain::pixels<1, 2, plain::Widen<1>>},
    {Code::Mono16, Code::Mono8, plain::pixels<2, 1, plain::Words<8, 0>>},
    {Code::Mono12, Code::Mono8, plain::pixels<2, 1, plain::Words<4, 0>>},
    {Code::Mono16, Code::BGR24, plain::pixels<2, 3, plain::Words<8, 0, 0, 0>>},
    {Code::Mono12, Code::BGRX32, plain::pixels<2, 4, plain::Words<4, 0, 0, 0, 0>>},
    {Code::YUV422, Code::BGRX32, plain::yuv<4>},
    {Code::YUV422, Code::BGR24, plain::yuv<3>},
    {Code::RGB48, Code::RGB24, plain::pixels<6, 3, plain::Words<8, 0, 1, 2>>},
    {Code::BGR48, Code::BGR24, plain::pixels<6, 3, plain::Words<8, 0, 1, 2>>},
    {Code::BGR48_12, Code::BGR24, plain::pixels<6, 3, plain::Words<4, 0, 1, 2>>},
    {Code::RGBA64, Code::RGBA32, plain::pixels<8, 4, plain::Words<8, 0, 1, 2, 3>>},
    {Code::RGBA64, Code::BGRX32, plain::pixels<8, 4, plain::Words<8, 2, 1, 0, 3>>},
    {Code::RGB48, Code::BGRX32, plain::pixels<6, 4, plain::Words<8, 2, 1, 0>>},
    {Code::BGR48, Code::BGRX32, plain::pixels<6, 4, plain::Words<8, 0, 1, 2>>},
    {Code::RGB30, Code::BGR24, plain::pixels<4, 3, plain::From30>},
    {Code::Mono10P, Code::Mono10, plain::groups<5, 4, plain::Unpack10>},
    {Code::Mono12P, Code::Mono12, plain::groups<3, 2, plain::Unpack12>},
    {Code::Mono14P, Code::Mono14, plain::groups<7, 4, plain::Unpack14>},
    {Code::BAY12P_A, Code::BAY12_A, plain::groups<3, 2, plain::Unpack12>},
    {Code::Mono10P, Code::BGRX32, plain::groups<5, 4, plain::Four<plain::Unpack10, 2>>},
    {Code::Mono12P, Code::BGRX32, plain::groups<3, 2, plain::Four<plain::Unpack12, 0>>},
    {Code::Mono14P, Code::BGRX32, plain::groups<7, 4, plain::Four<plain::Unpack14, 6>>},
    {Code::Mono12MP, Code::BGR24, plain::groups<3, 2, plain::Three12Msb>},
};

#ifdef __BMI2__
const Row deposit_rows[] = {
    {Code::Mono10P, Code::Mono10, plain::deposit<10>},
    {Code::Mono12P, Code::Mono12, plain::deposit<12>},
    {Code::Mono14P, Code::Mono14, plain::deposit<14>},
    {Code::BAY12P_A, Code::BAY12_A, plain::deposit<12>},
};
#endif

void add(const char* name, const Tolerance& tolerance, Convert convert, Candidates* list) {
    if (convert == nullptr) return;
    list->push_back({name, tolerance, [convert](Size size) -> Run {
                         return [=](const Job& job) { convert(job.from, job.to, size); };
                     }});
}

}  // namespace

void add_plain(const Task& task, Candidates* list) {
    if (task.is_mosaic()) return add("plain", {"border", 0, 1}, plain::demosaic(task), list);
    if (task.is_field()) return add("plain", {}, plain::field(task), list);
    for (const Row& row : direct_rows)
        if (task.is(row.from, row.to)) add("plain", {}, row.convert, list);
#ifdef __BMI2__
    for (const Row& row : deposit_rows)
        if (task.is(row.from, row.to)) add("plain pdep", {}, row.convert, list);
#endif
}

}  // namespace peers
