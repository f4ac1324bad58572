// Matrices and buffers share their memory, and whichever is last frees it.
#include "trvil/opencv.hpp"

#include <gtest/gtest.h>

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

}  // namespace
