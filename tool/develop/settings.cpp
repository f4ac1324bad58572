#include "tool/develop/settings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/text.h"
#include "tool/files/input.h"
#include "tool/files/output.h"
#include "tool/files/picture_write.h"

namespace trv::tool {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t most_settings = uint64_t{1} << 20;  // bytes

enum class Says { words, file, numbers_or_file };

struct Key {
    const char* name;
    std::string SettingTexts::*text;
    Says says;
};
constexpr Key keys[] = {{"black", &SettingTexts::black, Says::words},
                        {"white", &SettingTexts::white, Says::words},
                        {"dark", &SettingTexts::dark, Says::file},
                        {"flat", &SettingTexts::flat, Says::file},
                        {"defects", &SettingTexts::defects, Says::file},
                        {"wb", &SettingTexts::balance, Says::words},
                        {"ccm", &SettingTexts::matrix, Says::numbers_or_file},
                        {"curve", &SettingTexts::curve, Says::words},
                        {"method", &SettingTexts::method, Says::words}};

bool is_file(const Key& key, const std::string& said) {
    return key.says == Says::file || (key.says == Says::numbers_or_file && !numbers_in(said));
}

std::vector<std::string> key_names() {
    std::vector<std::string> names;
    for (const Key& key : keys) names.emplace_back(key.name);
    return names;
}

Failure unusable(const char* option, const std::string& said, const std::string& why,
                 const std::string& next) {
    return {Exit::usage, text("cannot use ", option, " \"", said, "\""), why, next};
}

Failure bad_file(const std::string& path, const std::string& why, const std::string& next) {
    return {Exit::usage, text("cannot use the settings ", path), why, next};
}

std::string contents_of(const std::string& path, uint64_t most) {
    const Contents contents = read_contents(path, most, most);
    return {contents.bytes.begin(), contents.bytes.end()};
}

std::vector<uint32_t> levels_in(const char* option, const std::string& said, bool may_be_four) {
    const auto numbers = numbers_in(said);
    const double least = may_be_four ? 0 : 1;
    std::vector<uint32_t> levels;
    for (const double number : numbers.value_or(std::vector<double>{})) {
        if (!(number >= least && number <= UINT16_MAX) || number != std::floor(number)) break;
        levels.push_back(static_cast<uint32_t>(number));
    }
    const bool complete = numbers && levels.size() == numbers->size();
    if (complete && (levels.size() == 1 || (may_be_four && levels.size() == 4))) return levels;
    throw unusable(option, said,
                   may_be_four ? "it is one sample value from 0 to 65535, or four, of the pixels "
                                 "(0, 0), (1, 0), (0, 1) and (1, 1)"
                               : "it is a sample value from 1 to 65535",
                   may_be_four ? "write it as 64 or as 64,65,65,63" : "write it as 1023");
}

std::string without_comments(const std::string& words) {
    std::istringstream in(words);
    std::string result, line;
    while (std::getline(in, line)) result += line.substr(0, line.find('#')) + " ";
    return result;
}

// Nine numbers, or a file that holds them in any shape.
Matrix matrix_in(const std::string& said) {
    const auto numbers = numbers_in(said);
    if (numbers && numbers->size() != 9)
        throw unusable("--ccm", said,
                       text("a matrix has nine numbers, and this has ", numbers->size()),
                       "write it row by row, with commas between the numbers");
    std::vector<double> entries = numbers.value_or(std::vector<double>{});
    if (!numbers) {
        std::string words = without_comments(contents_of(said, most_settings));
        for (char& letter : words)
            if (letter == ',') letter = ' ';
        std::istringstream in(words);
        for (double entry = 0; in >> entry;) entries.push_back(entry);
        if (!in.eof() || entries.size() != 9)
            throw unusable("--ccm", said, "the file does not hold nine numbers and nothing else",
                           "write them row by row; comments run from # to the end of a line");
    }
    Matrix matrix{};
    std::copy_n(entries.begin(), 9, matrix.begin());
    if (!inverted(matrix))
        throw unusable("--ccm", said, "the matrix is singular: it maps different colours to one",
                       "check it row by row");
    return matrix;
}

void read_curve(const std::string& said, Development* development) {
    constexpr std::string_view gamma = "gamma:";
    if (said == "none") {
        development->curve = TRW_CURVE_NONE;
    } else if (said == "srgb") {
        development->curve = TRW_CURVE_SRGB;
    } else {
        const auto numbers =
            said.rfind(gamma, 0) == 0 ? numbers_in(said.substr(gamma.size())) : std::nullopt;
        if (!numbers || numbers->size() != 1 ||
            !(numbers->front() >= 0.1 && numbers->front() <= 10))
            throw unusable("--curve", said, "a curve is none, srgb, or gamma: and 0.1 to 10",
                           "write it as srgb or as gamma:2.2");
        development->curve = TRW_CURVE_GAMMA;
        development->gamma = numbers->front();
    }
}

// Numbers and lists of them become what an option would be given.
std::optional<std::string> text_of(const Json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number()) return numbers_text({value.get<double>()});
    if (!value.is_array() || value.empty()) return std::nullopt;
    std::vector<double> numbers;
    for (const Json& item : value) {
        if (!item.is_number()) return std::nullopt;
        numbers.push_back(item.get<double>());
    }
    return numbers_text(numbers);
}

void check_keys(const Json& json, const std::string& path) {
    std::vector<std::string> unknown, near;
    for (const auto& [name, value] : json.items()) {
        const std::vector<std::string> names = key_names();
        if (std::find(names.begin(), names.end(), name) != names.end()) continue;
        unknown.push_back(text('"', name, '"'));
        for (const std::string& guess : nearest(name, names, 1))
            if (std::find(near.begin(), near.end(), guess) == near.end()) near.push_back(guess);
    }
    if (unknown.empty()) return;
    throw bad_file(path, text("it has what no setting is called: ", list(unknown)),
                   text("is it ", list(near, ", "), "? All are ", list(key_names())));
}

Json parsed(const std::string& path) {
    Json json = Json::parse(contents_of(path, most_settings), nullptr, false);
    if (json.is_discarded())
        throw bad_file(path, "it is no JSON", "`--save-settings` writes such files");
    if (!json.is_object())
        throw bad_file(path, "its JSON is no object", "write it as {\"black\": 64, ...}");
    check_keys(json, path);
    return json;
}

fs::path folder_of(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    return folder.empty() ? fs::path(".") : folder;
}

// Numbers as numbers, for programs.
Json value_of(const std::string& said) {
    const auto numbers = numbers_in(said);
    if (!numbers) return said;
    const auto as_json = [](double number) {
        return number == std::floor(number) && std::abs(number) < 1e9
                   ? Json(static_cast<int64_t>(number))
                   : Json(number);
    };
    if (numbers->size() == 1) return as_json(numbers->front());
    Json array = Json::array();
    for (const double number : *numbers) array.push_back(as_json(number));
    return array;
}

std::string seen_from(const fs::path& folder, const std::string& file) {
    std::error_code failed;
    const fs::path near = fs::proximate(fs::absolute(file), fs::absolute(folder), failed);
    return failed ? file : near.string();
}

}  // namespace

std::optional<std::vector<double>> numbers_in(const std::string& words) {
    std::vector<double> numbers;
    const char *at = words.data(), *end = at + words.size();
    while (true) {
        double number = 0;
        const auto [rest, error] = std::from_chars(at, end, number);
        if (error != std::errc{} || !std::isfinite(number)) return std::nullopt;
        numbers.push_back(number);
        if (rest == end) return numbers;
        if (*rest != ',') return std::nullopt;
        at = rest + 1;
    }
}

std::string numbers_text(const std::vector<double>& numbers) {
    std::vector<std::string> words;
    for (const double number : numbers) {
        char word[32];
        const auto [end, error] = std::to_chars(word, word + sizeof word, number);
        words.emplace_back(word, error == std::errc{} ? end : word);
    }
    return list(words, ",");
}

Development understand(const SettingTexts& said) {
    Development development;
    if (!said.black.empty()) development.black = levels_in("--black", said.black, true);
    if (!said.white.empty()) development.white = levels_in("--white", said.white, false).front();
    development.dark = said.dark;
    development.flat = said.flat;
    development.defects = said.defects;
    if (!said.matrix.empty()) development.matrix = matrix_in(said.matrix);
    if (!said.curve.empty()) read_curve(said.curve, &development);
    for (const std::string* text : {&said.black, &said.white, &said.dark, &said.flat, &said.defects,
                                    &said.matrix, &said.curve})
        development.needed = development.needed || !text->empty();
    return development;
}

SettingTexts read_settings(const std::string& path) {
    const Json json = parsed(path);
    SettingTexts said;
    for (const Key& key : keys) {
        if (!json.contains(key.name)) continue;
        const auto text_there = text_of(json[key.name]);
        if (!text_there || text_there->empty())
            throw bad_file(path,
                           text('"', key.name, "\" is ", json[key.name].dump(),
                                ", and that is neither text nor numbers"),
                           text("write it as --", key.name, " takes it"));
        said.*key.text =
            is_file(key, *text_there) ? (folder_of(path) / *text_there).string() : *text_there;
    }
    return said;
}

SettingTexts overruled(SettingTexts file, const SettingTexts& said) {
    for (const Key& key : keys)
        if (!(said.*key.text).empty()) file.*key.text = said.*key.text;
    return file;
}

std::string settings_file(const SettingTexts& said, const std::string& place) {
    Json json = Json::object();
    for (const Key& key : keys) {
        const std::string& text_there = said.*key.text;
        if (text_there.empty()) continue;
        json[key.name] = is_file(key, text_there) ? Json(seen_from(folder_of(place), text_there))
                                                  : value_of(text_there);
    }
    return json.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

void save_settings(const SettingTexts& said, const std::string& path, bool force) {
    Output output(path, force);
    write_text(settings_file(said, path), output);
    output.publish();
}

}  // namespace trv::tool
