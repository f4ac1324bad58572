// Matrices and buffers share their memory, and whichever is last frees it.
#include "trvil/opencv.hpp"

#include <gtest/gtest.h>

#include <array>

namespace {

using trvil::Buffer;
using trvil::Format;

TEST(OpenCv, ABufferKeepsTheMatrixAliveAndItsStride) {
    Buffer buffer;
    const uchar* inside = nullptr;
    {
        cv::Mat whole(8, 10, CV_8UC3);
        whole.setTo(cv::Scalar(1, 2, 3));
        const cv::Mat part = whole(cv::Rect(2, 3, 4, 5));
        inside = part.data;
        buffer = trvil::wrap(part);
        EXPECT_EQ(whole.u->refcount, 3);
    }
    EXPECT_EQ(buffer.format(), Format::BGR24);
    EXPECT_EQ(buffer.width(), 4u);
    EXPECT_EQ(buffer.height(), 5u);
    EXPECT_EQ(buffer.stride(), 30u);
    EXPECT_EQ(buffer.memory(), reinterpret_cast<const std::byte*>(inside));
    const Buffer turned = trvil::convert(buffer, Format::RGB24);
    EXPECT_EQ(turned.memory(4)[9], std::byte{3});
    EXPECT_EQ(turned.memory(4)[11], std::byte{1});
}

TEST(OpenCv, AMatrixKeepsTheBufferAlive) {
    bool gone = false;
    std::vector<uint16_t> memory(6 * 4, 7);
    Buffer buffer = Buffer::wrap(
        memory.data(), 48, 6, 4, Format::Mono12, 0,
        [](void* context, void*) { *static_cast<bool*>(context) = true; }, &gone);
    cv::Mat matrix = trvil::matrix(buffer);
    buffer = Buffer();
    {
        const cv::Mat part = matrix.row(2);
        matrix.at<uint16_t>(2, 5) = 9;
        matrix.release();
        EXPECT_FALSE(gone);
        EXPECT_EQ(part.at<uint16_t>(0, 5), 9);
        EXPECT_EQ(memory[17], 9);
        const cv::Mat copy = part.clone();
        EXPECT_NE(copy.data, part.data);
    }
    EXPECT_TRUE(gone);
}

TEST(OpenCv, TypesAreThoseOfTheFormats) {
    EXPECT_EQ(trvil::matrix_type(Format::Mono8), CV_8UC1);
    EXPECT_EQ(trvil::matrix_type(Format::Mono32), CV_32SC1);
    EXPECT_EQ(trvil::matrix_type(Format::BAY14_C), CV_16UC1);
    EXPECT_EQ(trvil::matrix_type(Format::RGB16), CV_8UC2);
    EXPECT_EQ(trvil::matrix_type(Format::YUV422), CV_8UC2);
    EXPECT_EQ(trvil::matrix_type(Format::XRGB32), CV_8UC4);
    EXPECT_EQ(trvil::matrix_type(Format::BGR48_10), CV_16UC3);
    EXPECT_EQ(trvil::matrix_type(Format::RGBA64_12), CV_16UC4);
    for (const Format none :
         {Format::RGB30, Format::Mono12P, Format::Mono12MP, Format::BAY10P_A, Format{7}})
        EXPECT_EQ(trvil::matrix_type(none), -1) << trvil::facts(none).name;
}

TEST(OpenCv, WhatDoesNotFitIsRefused) {
    EXPECT_THROW(trvil::wrap(cv::Mat()), trvil::Error);
    EXPECT_THROW(trvil::wrap(cv::Mat(2, 2, CV_32FC1)), trvil::Error);
    EXPECT_THROW(trvil::wrap(cv::Mat(2, 2, CV_8UC3), Format::Mono8), trvil::Error);
    EXPECT_THROW(trvil::wrap(cv::Mat(2, 2, CV_8UC1), Format::Mono12P), trvil::Error);
    const int cube[] = {2, 2, 2};
    EXPECT_THROW(trvil::wrap(cv::Mat(3, cube, CV_8UC1)), trvil::Error);
    EXPECT_THROW(trvil::matrix(Buffer()), trvil::Error);
    EXPECT_THROW(trvil::matrix(Buffer::create(4, 4, Format::RGB30)), trvil::Error);
    std::array<uint8_t, 64> memory{};
    const Buffer odd = Buffer::wrap(std::span(memory), 4, 2, Format::Mono16, 9);
    EXPECT_THROW(trvil::matrix(odd), trvil::Error);
}

TEST(OpenCv, PackedLinesOfARectangleBecomeWordsInAnother) {
    constexpr int width = 53;
    const cv::Rect place(9, 4, width, 10);
    cv::Mat bytes(20, 140, CV_8UC1), around(20, 70, CV_16UC3, cv::Scalar::all(7));
    cv::randu(bytes, 0, 256);
    const cv::Mat lines = bytes(cv::Rect(5, 3, 96, 10));
    cv::Mat out = around(place);
    const auto raw = trvil::wrap(lines, trvil::layout_named("BayerGB12p"), width);
    const trvil::Pool pool(2);
    trvil::convert(raw, out, Format::RGB48, trvil::gradient, &pool);
    EXPECT_EQ(out.data, around(place).data);
    cv::Mat outside = around.clone();
    outside(place) = cv::Scalar::all(7);
    EXPECT_EQ(cv::norm(outside, cv::Mat(20, 70, CV_16UC3, cv::Scalar::all(7)), cv::NORM_INF), 0);

    // The same by way of words of 12 bits in a matrix of their own.
    cv::Mat words, picture;
    trvil::convert(raw, words, Format::BAY12_C);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < width; ++x) {
            const uchar* line = lines.ptr(y);
            const int first = line[x * 3 / 2], second = line[x * 3 / 2 + 1];
            EXPECT_EQ(words.at<uint16_t>(y, x),
                      x % 2 == 0 ? first | (second & 15) << 8 : first >> 4 | second << 4);
        }
    trvil::convert(trvil::RawPicture(trvil::wrap(words, Format::BAY12_C)), picture, Format::RGB48,
                   trvil::gradient);
    EXPECT_EQ(cv::norm(picture, out, cv::NORM_INF), 0);
}

TEST(OpenCv, DevelopingTakesMatricesAndGivesThem) {
    cv::Mat mosaic(8, 10, CV_16UC1, cv::Scalar(164)), flat(8, 10, CV_16UC1, cv::Scalar(800)), out;
    flat.at<uint16_t>(4, 4) = 400;
    const trvil::RawPicture raw(trvil::wrap(mosaic, Format::BAY10_A));
    const Buffer even = trvil::wrap(flat, Format::BAY10);
    TRW_DevelopSettings settings{};
    for (uint32_t& black : settings.black) black = 64;
    settings.white = 564;
    settings.method = static_cast<uint32_t>(trvil::Method::dup);
    trvil::develop(raw, trvil::Recipe(raw, settings), out, Format::BGR48);
    EXPECT_EQ(cv::norm(out, cv::Mat(8, 10, CV_16UC3, cv::Scalar::all(13107)), cv::NORM_INF), 0);
    settings.flat = even.handle();
    trvil::develop(raw, trvil::Recipe(raw, settings), out, Format::BGR48);
    EXPECT_GT(out.at<cv::Vec3w>(4, 4)[2], 25000);

    settings.white = 10;
    try {
        const trvil::Recipe none(raw, settings);
        FAIL() << "white lies below black";
    } catch (const trvil::Error& error) {
        EXPECT_NE(std::string(error.what()).find("black"), std::string::npos) << error.what();
    }
}

TEST(OpenCv, RawPicturesThatDoNotFitAreRefusedAndLeaveTheResult) {
    const cv::Mat lines(4, 24, CV_8UC1, cv::Scalar(0));
    const auto packed = trvil::layout_named("Mono12Packed");
    EXPECT_EQ(trvil::wrap(lines, packed).buffer.width(), 16u);
    EXPECT_THROW(trvil::wrap(lines, packed, 17), trvil::Error);
    EXPECT_THROW(trvil::wrap(lines.reshape(3), packed), trvil::Error);
    EXPECT_THROW(trvil::layout_named("BayerRG"), trvil::Error);
    EXPECT_THROW(trvil::layout_named("RGB10p"), trvil::Error);
    cv::Mat out(1, 1, CV_8UC1, cv::Scalar(9));
    for (const Format to : {Format::RGB30, Format::YUV422}) {
        EXPECT_THROW(trvil::convert(trvil::wrap(lines, packed), out, to), trvil::Error);
        EXPECT_EQ(out.at<uchar>(0, 0), 9);
    }
    EXPECT_EQ(out.total(), 1u);
}

}  // namespace
