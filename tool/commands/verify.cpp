#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <vector>

#include "tool/checksums/crc32c.h"
#include "tool/checksums/list.h"
#include "tool/cli/error.h"
#include "tool/cli/json.h"
#include "tool/cli/report.h"
#include "tool/cli/text.h"
#include "tool/commands/command.h"
#include "tool/files/input.h"
#include "tool/files/tiff_stream.h"

namespace trv::tool {
namespace {

constexpr const char* footer =
    R"(The list is one of `trvil convert --checksums LIST`. Without FILES all files that it names are read
again, recordings and outputs. FILES are some of these; with --of they are the recordings or the outputs
under other names, in the order of the list.

Each frame that differs or is missing is named on stdout. The exit code is 1 where one differs, and 4
where none does and one is missing.)";

struct Options {
    std::string list, side;
    std::vector<std::string> files;
    bool json = false;
};

// Files of the list, of which one stays open: frames of a file follow each other.
class Files {
  public:
    // The sum of what is there now; nothing where not all of it is.
    std::optional<uint32_t> sum(const std::string& file, const FramePlace& place) {
        if (missing_.count(file) != 0) return std::nullopt;
        try {
            return place.page ? sum_of_page(file, place) : sum_of_bytes(file, place);
        } catch (const Failure& failure) {
            missing_[file] = failure.what();
            report(failure);
            close();
            return std::nullopt;
        }
    }

  private:
    struct CloseFile {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    void close() {
        input_.reset();
        tiff_.reset();
        stream_.reset();
        name_.clear();
    }

    std::optional<uint32_t> sum_of_bytes(const std::string& file, const FramePlace& place) {
        if (input_ == nullptr || name_ != file || place.offset < at_) {
            close();
            input_ = std::make_unique<Input>(file);
            name_ = file;
            at_ = 0;
        }
        const uint64_t gap = place.offset - at_;
        if (input_->skip(gap) < gap) return std::nullopt;
        uint32_t sum = 0;
        uint64_t got = 0;
        for (uint64_t left = place.bytes; left != 0; left -= got) {
            got = input_->read(block_.data(), std::min<uint64_t>(left, block_.size()));
            if (got == 0) return std::nullopt;
            sum = crc32c(block_.data(), got, sum);
        }
        at_ = place.offset + place.bytes;
        return sum;
    }

    std::optional<uint32_t> sum_of_page(const std::string& file, const FramePlace& place) {
        if (tiff_ == nullptr || name_ != file || *place.page < page_) {
            close();
            stream_.reset(std::fopen(file.c_str(), "rb"));
            if (stream_ == nullptr) Input{file};  // says why
            tiff_ = tiff_from(stream_.get());
            if (tiff_ == nullptr) return std::nullopt;
            name_ = file;
            page_ = 0;
        }
        for (; page_ < *place.page; ++page_)
            if (TIFFReadDirectory(tiff_.get()) == 0) return std::nullopt;
        uint32_t sum = 0;
        uint64_t bytes = 0;
        for (uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff_.get()); ++strip) {
            const tmsize_t size = TIFFRawStripSize(tiff_.get(), strip);
            if (size <= 0 || bytes + static_cast<uint64_t>(size) > place.bytes) return std::nullopt;
            block_.resize(std::max(block_.size(), static_cast<size_t>(size)));
            if (TIFFReadRawStrip(tiff_.get(), strip, block_.data(), size) != size)
                return std::nullopt;
            sum = crc32c(block_.data(), static_cast<uint64_t>(size), sum);
            bytes += static_cast<uint64_t>(size);
        }
        return bytes == place.bytes ? std::optional(sum) : std::nullopt;
    }

    std::map<std::string, std::string> missing_;
    std::string name_;  // of the open file
    std::unique_ptr<Input> input_;
    uint64_t at_ = 0;
    std::unique_ptr<FILE, CloseFile> stream_;
    Tiff tiff_;
    uint64_t page_ = 0;
    std::vector<uint8_t> block_ = std::vector<uint8_t>(1 << 18);
};

// Which files are looked at, and what they are called now.
class Choice {
  public:
    explicit Choice(const Options& o) : o_(o), used_(o.files.size()) {}

    // Nothing where the file is not looked at.
    std::optional<std::string> file_of(const std::string& listed, const char* side) {
        if (o_.side.empty() && o_.files.empty())
            return listed == "-" ? std::nullopt : std::optional(listed);
        if (o_.side.empty()) {
            const auto named = std::find(o_.files.begin(), o_.files.end(), listed);
            if (named == o_.files.end()) return std::nullopt;
            used_[static_cast<size_t>(named - o_.files.begin())] = true;
            return listed;
        }
        if (o_.side != side) return std::nullopt;
        const auto [place, is_new] = order_.try_emplace(listed, order_.size());
        if (place->second >= o_.files.size()) return std::nullopt;
        used_[place->second] = true;
        return o_.files[place->second];
    }

    // Throws Failure where a file is given that the list has nothing of.
    void check() const {
        for (size_t i = 0; i < o_.files.size(); ++i)
            if (!used_[i])
                throw Failure(Exit::usage, text(o_.list, " has nothing of ", o_.files[i]),
                              o_.side.empty() ? "it names no such file"
                                              : text("it has fewer files of --of ", o_.side),
                              "where a file has another name now, say --of input or --of output");
    }

  private:
    const Options& o_;
    std::vector<bool> used_;
    std::map<std::string, size_t> order_;
};

class Verification {
  public:
    explicit Verification(const Options& o) : o_(o), choice_(o) {}

    void run() {
        ChecksumReader list(o_.list);
        while (const auto line = list.next()) {
            look(*line, line->input, "input");
            look(*line, line->output, "output");
        }
        choice_.check();
        if (o_.json) print_json(summary());
        throw_result();
    }

  private:
    void look(const ChecksumLine& line, const FrameSum& listed, const char* side) {
        const auto file = choice_.file_of(listed.place.file, side);
        if (!file) return;
        ++looked_at_;
        const auto now = files_.sum(*file, listed.place);
        if (now == listed.sum) return;
        (now ? differ_ : missing_) += 1;
        if (o_.json)
            bad_.push_back(Json{{"frame", line.index},
                                {"file", *file},
                                {"side", side},
                                {"verdict", now ? "differs" : "missing"}});
        else
            std::cout << "frame " << line.index << " of " << printable(*file)
                      << (now ? text(" differs: ", crc_text(*now), " now, ", crc_text(listed.sum),
                                     " in the list")
                              : " is missing")
                      << '\n';
    }

    Json summary() const {
        return {{"list", o_.list},
                {"checksums", looked_at_},
                {"differ", differ_},
                {"missing", missing_},
                {"bad", bad_}};
    }

    void throw_result() const {
        if (looked_at_ == 0)
            throw Failure(Exit::usage, text(o_.list, " has nothing to look at"),
                          "recordings and outputs went through pipes",
                          "name what was kept of them: --of input FILE, or --of output FILE");
        if (differ_ + missing_ == 0) return;
        throw Failure(differ_ != 0 ? Exit::conversion : Exit::input,
                      text(differ_ + missing_, " of ", looked_at_, " checksums do not agree"),
                      text("frames that differ: ", differ_, ", missing: ", missing_), "");
    }

    const Options& o_;
    Choice choice_;
    Files files_;
    uint64_t looked_at_ = 0, differ_ = 0, missing_ = 0;
    Json bad_ = Json::array();
};

}  // namespace

void add_verify(CLI::App* app) {
    CLI::App* command =
        app->add_subcommand("verify", "Compare recordings and outputs with a list of checksums");
    const auto o = std::make_shared<Options>();
    command->add_option("list", o->list, "What convert --checksums wrote; - is stdin")
        ->type_name("LIST")
        ->required();
    command->add_option("files", o->files, "Recordings or outputs [all that the list names]")
        ->type_name("FILE");
    command
        ->add_option("--of", o->side,
                     "FILES are the input or the output, whatever the list calls them")
        ->check(CLI::IsMember({"input", "output"}));
    add_json_flag(command, &o->json);
    command->footer(footer);
    command->callback([o] { Verification(*o).run(); });
}

}  // namespace trv::tool
