// Developing at every level, on one thread and on several, against formulas in floating point.
#include "raw/develop/develop.h"

#include <array>
#include <limits>

#include "image/exports/convert.h"
#include "raw/demosaic/demosaic.h"
#include "tests/harness.h"
#include "tests/image/exports/fake_buffers.h"
#include "tests/reference/develop.h"
#include "tests/reference/gradient.h"
#include "tests/reference/unpack.h"

namespace {

using test::destination_handle;
using test::fake;
using test::Guarded;
using test::Random;
using test::source_handle;
using trv::Code;
using trv::Format;

constexpr uint64_t dark_handle = 0xDA4C, flat_handle = 0xF1A7, words_handle = 0x3048;
const char* const phase_colours[] = {"RGGB", "GRBG", "GBRG", "BGGR"};
constexpr uint32_t methods[] = {TBL_BAYER_METHOD_DUP, TBL_BAYER_METHOD_AVE, TBL_BAYER_METHOD_MED,
                                TRW_METHOD_GRADIENT};
constexpr uint32_t phases[] = {TBL_BAYER_PHASE_A, TBL_BAYER_PHASE_B, TBL_BAYER_PHASE_C,
                               TBL_BAYER_PHASE_D};

uint32_t whole_code(Code code) {
    return trv::format_prefix + static_cast<uint32_t>(code);
}

struct Kind {
    Code format;
    const trv::raw::Packing* packing;  // of the format's samples; null: none
    unsigned bits() const { return trv::format_of(format).significant; }
    bool is_mosaic() const { return trv::format_of(format).family == trv::Family::bayer; }
};

Kind any_kind(Random& random) {
    static constexpr Code formats[] = {Code::BAY8,  Code::BAY10, Code::BAY12,  Code::BAY14,
                                       Code::BAY16, Code::Mono8, Code::Mono12, Code::Mono16};
    Kind kind{formats[random.below(std::size(formats))], nullptr};
    if (kind.bits() == 8 || random.one_in(2)) return kind;
    for (unsigned tries = 0; tries < 20 && kind.packing == nullptr; ++tries) {
        const auto& packing = trv::raw::packings[random.below(trv::raw::packing_count)];
        if (packing.target == trv::raw::Target::words && packing.bits == kind.bits())
            kind.packing = &packing;
    }
    return kind;
}

double any_number(Random& random, double low, double high) {
    return low + (high - low) * random.below(1000001) / 1000000;
}

// A source, its references and settings, each picture against a guard page.
class Scene {
  public:
    Scene(Kind kind, uint32_t width, uint32_t height, Random& random)
        : kind_(kind),
          width_(width),
          height_(height),
          source_stride_(test::any_stride(random, source_line())),
          source_(size_t{source_stride_} * (height - 1) + source_line(), test::any_side(random)),
          dark_(size_t{width} * height * 2, test::any_side(random)),
          flat_(size_t{width} * height * 2, test::any_side(random)) {
        reference.bits = kind.bits();
        reference.is_mosaic = kind.is_mosaic();
        fill(random);
        choose(random);
        describe_buffers();
    }

    // As words of the recipe's colours, red first; grey has one.
    std::vector<double> expected() const {
        const reference::Develop develop(reference);
        std::vector<uint16_t> words(size_t{width_} * height_ + 1);
        for (uint32_t y = 0; y < height_; ++y)
            for (uint32_t x = 0; x < width_; ++x)
                words[size_t{y} * width_ + x] = static_cast<uint16_t>(develop.word(x, y));
        std::vector<double> colours;
        for (uint32_t y = 0; y < height_; ++y)
            for (uint32_t x = 0; x < width_; ++x) add_pixel(develop, words, x, y, &colours);
        return colours;
    }

    const Kind& kind() const { return kind_; }
    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }
    uint32_t packing() const { return kind_.packing == nullptr ? 0 : kind_.packing->code; }

    reference::DevelopCase reference{};
    std::vector<TRW_Defect> defects;

  private:
    uint64_t source_line() const {
        return kind_.packing != nullptr ? trv::raw::line_bytes(*kind_.packing, 0, width_)
                                        : uint64_t{width_} * (kind_.bits() == 8 ? 1 : 2);
    }

    void fill(Random& random) {
        for (size_t i = 0; i < source_.size(); ++i)
            source_.data()[i] = static_cast<uint8_t>(random.bits());
        reference::Words words{width_, height_, {}};
        reference.samples = reference.dark = reference.flat = words;
        for (uint32_t y = 0; y < height_; ++y)
            for (uint32_t x = 0; x < width_; ++x) reference.samples.at.push_back(sample(x, y));
    }
    uint32_t sample(uint32_t x, uint32_t y) const {
        const uint8_t* line = source_.data() + size_t{source_stride_} * y;
        if (kind_.packing != nullptr) return reference::unpacked(kind_.packing->name, line, 0, x);
        return kind_.bits() == 8 ? line[x] : line[2 * x] | uint32_t{line[2 * x + 1]} << 8;
    }

    void choose(Random& random) {
        const uint32_t most = (1u << kind_.bits()) - 1;
        TRW_DevelopSettings& s = reference.settings;
        s.size = sizeof s;
        s.format = packing() == 0 ? 0 : whole_code(kind_.format);
        const uint32_t phase = random.below(4);
        s.phase = kind_.is_mosaic() ? phases[phase] : 0;
        s.method = methods[random.below(4)];
        for (int i = 0; i < 4; ++i)
            reference.colour[i] = phase_colours[phase][i] == 'R'   ? 0
                                  : phase_colours[phase][i] == 'G' ? 1
                                                                   : 2;
        for (uint32_t& black : s.black) black = random.one_in(3) ? 0 : random.below(most / 8);
        if (random.one_in(3)) s.white = random.between(most / 2, most);
        if (random.one_in(3))
            use(&s.dark, dark_handle, dark_, &reference.dark, 0, most / 6, random);
        if (random.one_in(3))
            use(&s.flat, flat_handle, flat_, &reference.flat, most / 8, most, random);
        if (random.one_in(2))
            for (int i = 0; i < (kind_.is_mosaic() ? 3 : 1); ++i)
                s.gains[i] = any_number(random, 0.3, 4);
        if (kind_.is_mosaic() && random.one_in(2))
            for (int i = 0; i < 9; ++i)
                s.matrix[i] = i % 4 == 0 ? any_number(random, 1, 2.5) : any_number(random, -.7, .1);
        if (random.one_in(4))  // short entries
            for (double& entry : s.matrix) entry = std::round(entry * 4096) / 4096;
        s.curve = random.below(3);
        s.gamma = any_number(random, 0.4, 3);
        choose_defects(random);
    }
    static void use(uint64_t* setting, uint64_t handle, const Guarded& memory,
                    reference::Words* words, uint32_t first, uint32_t last, Random& random);

    // Single ones, a column and a cluster, as far as there is room for good samples between.
    void choose_defects(Random& random) {
        if (width_ < 8 || height_ < 8 || random.one_in(2)) return;
        for (unsigned i = 0; i < 5; ++i)
            defects.push_back({random.below(width_), random.below(height_)});
        const uint32_t column = random.below(width_);
        for (uint32_t y = 0; y < height_; ++y) defects.push_back({column, y});
        for (uint32_t i = 0; i < 9; ++i) defects.push_back({width_ - 1 - i % 3, i / 3});
        reference.settings.defects = defects.data();
        reference.settings.defect_count = defects.size();
    }

    void describe_buffers() {
        fake() = {};
        fake().set_picture(source_handle, packing() == 0 ? whole_code(kind_.format) : 0,
                           source_.data(), width_, height_, source_stride_);
        fake().set_picture(dark_handle, whole_code(Code::Mono16), dark_.data(), width_, height_,
                           2 * width_);
        fake().set_picture(flat_handle, whole_code(Code::Mono16), flat_.data(), width_, height_,
                           2 * width_);
    }

    void add_pixel(const reference::Develop& develop, const std::vector<uint16_t>& words,
                   uint32_t x, uint32_t y, std::vector<double>* colours) const {
        if (!kind_.is_mosaic())
            return colours->push_back(develop.bent(words[size_t{y} * width_ + x]));
        const uint32_t method = reference.settings.method;
        const reference::Mosaic mosaic{
            reinterpret_cast<const uint8_t*>(words.data()),
            2 * width_,
            width_,
            height_,
            16,
            phase_colours[(reference.settings.phase - phases[0]) / (phases[1] - phases[0])],
            true};
        const reference::Pixel p =
            method == TRW_METHOD_GRADIENT
                ? gradient_pixel(mosaic, x, y)
                : pixel(mosaic, static_cast<reference::Method>((method >> 8) - 1), x, y);
        double colour[3] = {double(p.red), double(p.green), double(p.blue)};
        bool mixes = false;
        for (const double entry : reference.settings.matrix) mixes = mixes || entry != 0;
        if (mixes) develop.mix(colour);
        for (const double c : colour) colours->push_back(develop.bent(c));
    }

    Kind kind_;
    uint32_t width_, height_, source_stride_;
    Guarded source_, dark_, flat_;
};

void Scene::use(uint64_t* setting, uint64_t handle, const Guarded& memory, reference::Words* words,
                uint32_t first, uint32_t last, Random& random) {
    *setting = handle;
    for (size_t i = 0; i < memory.size() / 2; ++i) {
        const auto word = static_cast<uint16_t>(random.between(first, last));
        words->at.push_back(word);
        std::memcpy(memory.data() + 2 * i, &word, 2);
    }
}

class Recipe {
  public:
    explicit Recipe(const Scene& scene) {
        const char* why = nullptr;
        EXPECT_EQ(TRW_RecipeCreate(&recipe_, source_handle, scene.packing(),
                                   &scene.reference.settings, &why),
                  TRV_STATUS_OK)
            << why;
    }
    ~Recipe() {
        if (recipe_ != nullptr) TRW_RecipeDestroy(&recipe_);
    }
    Recipe(const Recipe&) = delete;
    Recipe& operator=(const Recipe&) = delete;
    const TRW_Recipe* get() const { return recipe_; }

  private:
    TRW_Recipe* recipe_ = nullptr;
};

// Every line is a band, and a strip has one or two.
constexpr trv::raw::Cut fine{1, 1, 4};

class Developed {
  public:
    Developed(const Scene& scene, Code format, Random& random, bool is_tight = false)
        : picture_(trv::format_of(format), scene.width(), scene.height(),
                   stride(trv::line_bytes(trv::format_of(format), scene.width()), is_tight, random),
                   0, test::any_side(random)) {
        picture_.fill(random);
        background_ = picture_.bytes();
        fake().set_picture(destination_handle, whole_code(format), picture_.memory.data(),
                           scene.width(), scene.height(), picture_.stride);
    }
    uint32_t develop(const trv::raw::Level& level, const Recipe& recipe, TRW_Pool* pool,
                     const trv::raw::Cut& cut) const {
        picture_.put(background_);
        return trv::raw::develop(level, source_handle, destination_handle, *recipe.get(), pool,
                                 cut);
    }
    const test::Picture& picture() const { return picture_; }
    const std::vector<uint8_t>& background() const { return background_; }

  private:
    static uint32_t stride(uint64_t line, bool is_tight, Random& random) {
        return is_tight ? static_cast<uint32_t>(line) : test::any_stride(random, line);
    }

    test::Picture picture_;
    std::vector<uint8_t> background_;
};

::testing::AssertionResult is_near(const Scene& scene, const Developed& developed,
                                   double tolerance) {
    const std::vector<double> expected = scene.expected();
    const test::Picture& p = developed.picture();
    const size_t channels = p.format.stored / 16u;
    const bool blue_first = p.format.code == Code::BGR48;
    std::vector<uint8_t> rest = developed.background();
    for (uint32_t y = 0; y < p.height; ++y)
        for (size_t i = 0; i < p.width * channels; ++i) {
            const size_t at = size_t{y} * p.stride + 2 * i, x = i / channels;
            const size_t c = blue_first ? 2 - i % channels : i % channels;
            uint16_t word;
            std::memcpy(&word, p.memory.data() + at, 2);
            const double should = std::floor(expected[(y * p.width + x) * channels + c] + 0.5);
            if (std::fabs(word - should) > tolerance)
                return ::testing::AssertionFailure() << "x " << x << " y " << y << " channel " << c
                                                     << ": " << word << ", expected " << should;
            std::memcpy(rest.data() + at, &word, 2);
        }
    return test::same_bytes(p, rest);
}

TRW_Pool* three_threads() {
    static TRW_Pool* const pool = [] {
        TRW_Pool* made = nullptr;
        EXPECT_EQ(TRW_PoolCreate(&made, 3), TRV_STATUS_OK);
        return made;
    }();
    return pool;
}

std::string describe(const Scene& scene) {
    const TRW_DevelopSettings& s = scene.reference.settings;
    return std::string(trv::format_of(scene.kind().format).name) + " packing " +
           std::to_string(scene.packing()) + " " + std::to_string(scene.width()) + "x" +
           std::to_string(scene.height()) + " method " + std::to_string(s.method) + " curve " +
           std::to_string(s.curve) + (s.dark != 0 ? " dark" : "") + (s.flat != 0 ? " flat" : "") +
           " defects " + std::to_string(s.defect_count);
}

void compare(const Scene& scene, Random& random) {
    const Recipe recipe(scene);
    ASSERT_NE(recipe.get(), nullptr) << describe(scene);
    const bool is_mosaic = scene.kind().is_mosaic();
    const Code words = !is_mosaic ? Code::Mono16 : random.one_in(2) ? Code::RGB48 : Code::BGR48;
    const Developed developed(scene, words, random);
    ASSERT_EQ(developed.develop(trv::raw::levels[0], recipe, nullptr, trv::raw::usual_cut), 0u);
    ASSERT_TRUE(is_near(scene, developed, scene.reference.settings.curve == 0 ? 0 : 1))
        << describe(scene);
    const std::vector<uint8_t> expected = developed.picture().bytes();
    for (unsigned level = 0; level <= trv::raw::best_level(); ++level)
        for (TRW_Pool* pool : {static_cast<TRW_Pool*>(nullptr), three_threads()}) {
            ASSERT_EQ(developed.develop(trv::raw::levels[level], recipe, pool, fine), 0u);
            ASSERT_TRUE(test::same_bytes(developed.picture(), expected))
                << describe(scene) << " level " << level;
        }
}

// Packed formats are developed as the packings in which their bits lie.
TEST(Develop, TakesPackedFormatsForTheirPackings) {
    const struct {
        Code packed, words;
        uint32_t packing;
    } cases[] = {{Code::BAY10P_C, Code::BAY10_C, TRW_PACKING_10p},
                 {Code::BAY12P_D, Code::BAY12_D, TRW_PACKING_12p},
                 {Code::BAY14P_A, Code::BAY14_A, TRW_PACKING_14p},
                 {Code::Mono12P, Code::Mono12, TRW_PACKING_12p},
                 {Code::Mono12MP, Code::Mono12, TRW_PACKING_12pmsb}};
    Random random(test::seed());
    constexpr uint32_t width = 37, height = 6, stride = 72;
    Guarded source(stride * height, test::any_side(random));
    for (size_t i = 0; i < source.size(); ++i)
        source.data()[i] = static_cast<uint8_t>(random.bits());
    for (const auto& c : cases) {
        const bool is_grey = c.words == Code::Mono12;
        std::vector<uint16_t> pictures[2];
        for (const bool as_packing : {false, true}) {
            std::vector<uint16_t>& picture = pictures[as_packing];
            picture.resize(3 * width * height);
            fake() = {};
            fake().set_picture(source_handle, whole_code(c.packed), source.data(), width, height,
                               stride);
            fake().set_picture(destination_handle, whole_code(is_grey ? Code::Mono16 : Code::RGB48),
                               reinterpret_cast<uint8_t*>(picture.data()), width, height,
                               width * 6);
            TRW_DevelopSettings settings{};
            settings.size = sizeof settings;
            settings.method = is_grey ? 0 : TBL_BAYER_METHOD_AVE;
            settings.format = as_packing ? whole_code(c.words) : 0;
            const uint32_t packing = as_packing ? c.packing : 0;
            TRW_Recipe* recipe = nullptr;
            const char* why = nullptr;
            ASSERT_EQ(TRW_RecipeCreate(&recipe, source_handle, packing, &settings, &why), 0u)
                << why;
            EXPECT_EQ(TRW_Develop(source_handle, destination_handle, recipe, nullptr), 0u);
            TRW_RecipeDestroy(&recipe);
        }
        EXPECT_EQ(pictures[0], pictures[1]) << trv::format_of(c.packed).name;
        EXPECT_NE(pictures[0], std::vector<uint16_t>(pictures[0].size()));
    }
}

TEST(Develop, FollowsTheFormulasAtEveryWidth) {
    Random random(test::seed());
    for (unsigned round = 0; round < test::rounds(3); ++round)
        for (uint32_t width = 2; width <= 70; ++width) {
            const Scene scene(any_kind(random), width, random.between(2, 12), random);
            compare(scene, random);
            if (HasFatalFailure()) return;
        }
}

TEST(Develop, LargePictures) {
    Random random(test::seed());
    for (const uint32_t width : {640u, 1919u, 4099u}) {
        const Scene scene(any_kind(random), width, random.between(40, 90), random);
        compare(scene, random);
        if (HasFatalFailure()) return;
    }
}

// Other formats are what TIL_Convert makes of the words.
void compare_with_converted(Code words_code, const Format& format, Random& random) {
    const Kind kind{words_code == Code::Mono16 ? Code::Mono12 : Code::BAY10, nullptr};
    const Scene scene(kind, random.between(30, 99), 23, random);
    const Recipe recipe(scene);
    // TIL_Convert steps words by an even stride.
    const Developed words(scene, words_code, random, true);
    ASSERT_EQ(words.develop(trv::raw::levels[0], recipe, nullptr, fine), 0u);
    const Developed developed(scene, format.code, random);
    fake().set_picture(words_handle, whole_code(words_code), words.picture().memory.data(),
                       scene.width(), scene.height(), words.picture().stride);
    developed.picture().put(developed.background());
    ASSERT_EQ(trv::convert(trv::levels[0], words_handle, destination_handle), 0u) << format.name;
    const std::vector<uint8_t> expected = developed.picture().bytes();
    for (unsigned level = 0; level <= trv::raw::best_level(); ++level) {
        ASSERT_EQ(developed.develop(trv::raw::levels[level], recipe, three_threads(), fine), 0u);
        ASSERT_TRUE(test::same_bytes(developed.picture(), expected)) << format.name << level;
    }
}

TEST(Develop, OtherDestinationsAreConvertedWords) {
    Random random(test::seed());
    unsigned formats = 0;
    for (const Code words : {Code::RGB48, Code::BGR48, Code::Mono16})
        for (const Format& format : trv::formats) {
            const trv::Route route = trv::find_route(whole_code(words), whole_code(format.code));
            if (trv::route_kind(route) == trv::RouteKind::none) continue;
            if (words == Code::BGR48 && format.code == Code::RGB48) continue;
            compare_with_converted(words, format, random);
            if (HasFatalFailure()) FAIL() << format.name;
            ++formats;
        }
    EXPECT_GT(formats, 8u);
}

// What is refused, and with which words; the settings are otherwise right.
TEST(Recipe, RefusesWithAReason) {
    Random random(test::seed());
    const auto refused = [&](Kind kind, auto change, uint32_t status, const char* words) {
        Scene scene(kind, 16, 12, random);
        TRW_DevelopSettings& s = scene.reference.settings;
        s = {};
        s.size = sizeof s;
        s.method = TBL_BAYER_METHOD_AVE;
        s.phase = kind.is_mosaic() ? uint32_t{TBL_BAYER_PHASE_B} : 0;
        change(s);
        TRW_Recipe* recipe = nullptr;
        const char* why = nullptr;
        EXPECT_EQ(TRW_RecipeCreate(&recipe, source_handle, 0, &s, &why), status) << words;
        EXPECT_EQ(recipe, nullptr);
        ASSERT_NE(why, nullptr) << words;
        EXPECT_NE(std::string(why).find(words), std::string::npos) << why;
    };
    using Settings = TRW_DevelopSettings;
    const Kind bayer{Code::BAY12, nullptr}, grey{Code::Mono12, nullptr};
    static const TRW_Defect outside{16, 0};
    static std::array<TRW_Defect, 16 * 12> all;
    for (uint32_t i = 0; i < all.size(); ++i) all[i] = {i % 16, i / 16};
    constexpr uint32_t wrong = TRV_STATUS_PARAMETER, unsupported = TRV_STATUS_UNSUPPORTED;
    refused(
        bayer, [](Settings& s) { s.white = 4096; }, wrong, "white");
    refused(
        bayer, [](Settings& s) { s.black[3] = 4095; }, wrong, "black");
    refused(
        bayer, [](Settings& s) { s.gains[1] = 1; }, wrong, "gain is not above 0");
    refused(
        bayer, [](Settings& s) { s.gains[0] = s.gains[1] = s.gains[2] = 33; }, wrong, "large");
    refused(
        bayer, [](Settings& s) { s.matrix[0] = s.matrix[4] = 1; }, wrong, "singular");
    refused(
        bayer, [](Settings& s) { s.matrix[8] = std::nan(""); }, wrong, "no number");
    refused(
        bayer,
        [](Settings& s) {
            s.matrix[0] = 7.99;
            s.matrix[4] = s.matrix[8] = 1;
        },
        wrong, "row");
    refused(
        bayer, [](Settings& s) { s.curve = 3; }, unsupported, "curve");
    refused(
        bayer, [](Settings& s) { s.curve = TRW_CURVE_GAMMA; }, wrong, "gamma");
    refused(
        bayer, [](Settings& s) { s.dark = 0xBAD; }, wrong, "dark or flat");
    refused(
        bayer,
        [](Settings& s) {
            s.flat = flat_handle;
            fake().set(flat_handle, TBL_PARAMETER_WIDTH, 17);
        },
        wrong, "another size");
    refused(
        bayer,
        [](Settings& s) {
            s.defects = &outside;
            s.defect_count = 1;
        },
        wrong, "outside");
    refused(
        bayer,
        [](Settings& s) {
            s.defects = all.data();
            s.defect_count = all.size();
        },
        wrong, "no good sample");
    refused(
        bayer, [](Settings& s) { s.method = 5; }, TRV_STATUS_BAYER_SETTING, "method");
    refused(
        bayer, [](Settings& s) { s.phase = 5; }, TRV_STATUS_BAYER_SETTING, "phase");
    refused(
        grey, [](Settings& s) { s.matrix[0] = s.matrix[4] = s.matrix[8] = 1; }, unsupported,
        "grey");
    refused(
        grey, [](Settings& s) { s.gains[2] = 1; }, unsupported, "one gain");
    refused(
        {Code::RGB24, nullptr}, [](Settings&) {}, unsupported, "mosaics and grey");
    refused(
        {Code::Mono8, nullptr},
        [](Settings&) { fake().set(source_handle, TBL_PARAMETER_WIDTH, 0x80000000u); }, wrong,
        "4 GiB");
    refused(
        bayer, [](Settings& s) { s.size = 4; }, wrong, "settings");
}

// Pictures unlike the recipe's are refused, and the destination stays as it is.
TEST(Develop, RefusesOtherPictures) {
    Random random(test::seed());
    Scene scene({Code::BAY12, nullptr}, 20, 10, random);
    const Recipe recipe(scene);
    const Developed developed(scene, Code::RGB48, random);
    const auto status_with = [&](uint64_t handle, uint32_t parameter, uint64_t value) {
        const auto before = fake();
        fake().set(handle, parameter, value);
        const uint32_t status =
            developed.develop(trv::raw::levels[0], recipe, nullptr, trv::raw::usual_cut);
        fake() = before;
        EXPECT_TRUE(test::same_bytes(developed.picture(), developed.background()));
        return status;
    };
    constexpr uint32_t wrong = TRV_STATUS_PARAMETER, unsupported = TRV_STATUS_UNSUPPORTED;
    EXPECT_EQ(status_with(source_handle, TBL_PARAMETER_WIDTH, 21), wrong);
    EXPECT_EQ(status_with(source_handle, TBL_PARAMETER_HEIGHT, 9), wrong);
    EXPECT_EQ(status_with(source_handle, TBL_PARAMETER_STRIDE, 39), wrong);
    EXPECT_EQ(status_with(source_handle, TBL_PARAMETER_FORMAT, whole_code(Code::BAY10)),
              unsupported);
    EXPECT_EQ(status_with(destination_handle, TBL_PARAMETER_STRIDE, 119), wrong);
    EXPECT_EQ(status_with(destination_handle, TBL_PARAMETER_HEIGHT, 9), wrong);
    EXPECT_EQ(status_with(destination_handle, TBL_PARAMETER_FORMAT, whole_code(Code::YUV422)),
              unsupported);
    EXPECT_EQ(status_with(destination_handle, TBL_PARAMETER_PRESENT, 0), wrong);
}

}  // namespace
