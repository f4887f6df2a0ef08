// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/source.h"

#include <gtest/gtest.h>
#include <zip.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>

#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

class Sources : public testing::Test {
 protected:
  Sources() : folder_(std::filesystem::temp_directory_path() / "mercato_sources_test") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  ~Sources() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  std::string plain(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }
  std::string gzip(const std::string& name, const std::string& text) const {
    gzFile file = gzopen(path(name).c_str(), "wb9");
    gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    gzclose(file);
    return path(name);
  }
  // One after the other, each packed by itself.
  std::string parts(const std::string& name, const std::vector<std::string>& texts) const {
    std::string all;
    for (const std::string& text : texts) {
      std::ifstream packed(gzip("part.gz", text), std::ios::binary);
      all.append(std::istreambuf_iterator<char>(packed), std::istreambuf_iterator<char>());
    }
    return plain(name, all);
  }
  std::string zip(const std::string& name, const std::vector<std::pair<std::string, std::string>>& parts) const {
    int error = 0;
    zip_t* archive = zip_open(path(name).c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    for (const auto& [part, text] : parts)
      zip_file_add(archive, part.c_str(), zip_source_buffer(archive, text.data(), text.size(), 0), ZIP_FL_ENC_UTF_8);
    zip_close(archive);
    return path(name);
  }

  static std::string all_of(const std::string& file, const UnpackingLimits& limits = {}) {
    try {
      const std::unique_ptr<Bytes> bytes = open_source(file, limits);
      std::string begin(bytes->peek());
      std::string all;
      for (std::string_view piece = bytes->next(); !piece.empty(); piece = bytes->next()) all += piece;
      EXPECT_EQ(begin, all.substr(0, 65536));
      return all;
    } catch (const Raised& raised) {
      return "raised " + raised.error().Description;
    }
  }

 private:
  std::filesystem::path folder_;
};

std::string long_text() {
  std::string text;
  for (int line = 0; line < 100'000; ++line) text += "line " + std::to_string(line) + "\n";
  return text;
}

TEST_F(Sources, AreTheSameBytesHoweverTheyArePacked) {
  for (const std::string& text : {std::string("a,b\n"), long_text()}) {
    EXPECT_EQ(all_of(plain("plain.csv", text)), text);
    EXPECT_EQ(all_of(gzip("packed.csv.gz", text)), text);
    EXPECT_EQ(all_of(parts("parts.csv.gz", {text, "more\n"})), text + "more\n");
    EXPECT_EQ(all_of(zip("packed.zip", {{"parts.csv", text}})), text);
    EXPECT_EQ(all_of(zip("mac.zip", {{"folder/parts.csv", text}, {"__MACOSX/._parts.csv", "x"}})), text);
  }
  EXPECT_EQ(all_of(plain("empty", "")), "");
}

TEST_F(Sources, OfZstdAreUnpacked) {
  // "hello\n" as one frame with one raw block.
  const std::string frame("\x28\xB5\x2F\xFD\x20\x06\x31\x00\x00hello\n", 15);
  EXPECT_EQ(all_of(plain("packed.zst", frame)), "hello\n");
}

TEST_F(Sources, ThatCannotBeReadSayWhy) {
  EXPECT_EQ(all_of(path("nowhere")), "raised The file \"" + path("nowhere") + "\" is not there.");
  EXPECT_EQ(all_of(path("")), "raised The file \"" + path("") + "\" cannot be read: Is a directory.");
  EXPECT_EQ(all_of(zip("two.zip", {{"a.csv", "1"}, {"b.csv", "2"}})),
            "raised The file \"" + path("two.zip") +
                "\" is an archive with 2 files: a.csv, b.csv. Unpack it, and import them one by one.");
  const std::string packed = gzip("whole.gz", long_text());
  std::ifstream whole(packed, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
  const std::string cut = plain("cut.gz", bytes.substr(0, bytes.size() / 2));
  EXPECT_EQ(all_of(cut), "raised The file \"" + cut + "\" cannot be unpacked: it is cut off.");
  // The check sum stands in front of the length, at the end.
  bytes[bytes.size() - 8] = static_cast<char>(bytes[bytes.size() - 8] ^ 1);
  const std::string wrong = plain("wrong.gz", bytes);
  EXPECT_EQ(all_of(wrong), "raised The file \"" + wrong + "\" cannot be unpacked: it is damaged.");
}

TEST_F(Sources, ThatUnpackToFarMoreThanTheyAreAreNotReadOn) {
  const std::string bomb(4'000'000, 'x');
  UnpackingLimits limits;
  limits.free_bytes = 1'000'000;
  const std::string fault =
      " unpacks to far more than a catalogue does, and was not read on. Unpack it first if it is what it should be.";
  const std::string gzipped = gzip("bomb.gz", bomb);
  EXPECT_EQ(all_of(gzipped, limits), "raised The file \"" + gzipped + "\"" + fault);
  const std::string zipped = zip("bomb.zip", {{"bomb.csv", bomb}});
  EXPECT_EQ(all_of(zipped, limits), "raised The file \"" + zipped + "\"" + fault);
  limits.free_bytes = 8'000'000;
  EXPECT_EQ(all_of(gzipped, limits), bomb);
  limits.most_bytes = 3'000'000;
  EXPECT_EQ(all_of(zipped, limits), "raised The file \"" + zipped + "\"" + fault);
}

TEST_F(Sources, ThatAreWorkbooksStayAsTheyAre) {
  const std::string file = zip("book.xlsx", {{"[Content_Types].xml", "<Types/>"}, {"xl/workbook.xml", "<workbook/>"}});
  const std::string bytes = all_of(file);
  EXPECT_TRUE(is_workbook(bytes));
  EXPECT_EQ(bytes.size(), std::filesystem::file_size(file));
  EXPECT_FALSE(is_workbook("PK\x03\x04 something else"));
}

}  // namespace
}  // namespace mercato::exchange
