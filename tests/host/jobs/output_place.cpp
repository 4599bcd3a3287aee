#include "host/jobs/output_place.h"

#include "host/files/read_file.h"
#include "host/jobs/convert_job.h"
#include "host/jobs/solve_job.h"
#include "tests/host/input_error.h"
#include "tests/host/standard_input.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using mien::IsStream;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

const std::string kTake = "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,1,2,3\n";

class OutputPlace : public TemporaryFolder {
protected:
  static std::string Converted(const std::string& take, const std::string& output) {
    mien::ConvertJob job;
    job.take = take, job.output = output;
    return InputErrorOf([&] { mien::Run(job); });
  }
  std::string Converted(const std::string& output) const { return Converted(folder_ / "take.csv", output); }
};

} // namespace

TEST_F(OutputPlace, IsAStreamWhereItIsNotAFile) {
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  fs::create_symlink("/dev/null", folder_ / "link");
  for (const std::string& stream :
       {std::string("-"), std::string("/dev/stdout"), std::string("/dev/fd/1"), std::string("/dev/null"),
        std::string("/dev/tty"), (folder_ / "pipe").string(), (folder_ / "link").string()})
    EXPECT_TRUE(IsStream(stream)) << stream;
  for (const std::string& file : {std::string(), std::string("/dev"), std::string("/dev/shm/none"),
                                  folder_.string(), (folder_ / "none").string(), Write("file", "").string()})
    EXPECT_FALSE(IsStream(file)) << file;
}

// A file may lie under /dev, too.
TEST_F(OutputPlace, AnEndingCountsWhereverTheFileIs) {
  Write("take.csv", kTake);
  const std::string shared = "/dev/shm/mien_" + std::to_string(getpid()) + ".c3d";
  EXPECT_EQ(Converted(shared), "no InputError");
  EXPECT_EQ(mien::ReadTake(shared).format, "C3D");
  fs::remove(shared);
  const std::string nameless = "/dev/shm/mien_" + std::to_string(getpid());
  EXPECT_EQ(Converted(nameless),
            "output: \"" + nameless + "\" does not end in .c3d, .trc or .csv, which say what to write");
  EXPECT_FALSE(fs::exists(nameless));
  EXPECT_EQ(Converted("/dev/null"), "no InputError");

  mien::SolveJob job;
  job.take = folder_ / "take.csv", job.performer = "landmarks68", job.output = "/dev/shm/x.txt";
  EXPECT_THAT(InputErrorOf([&] { mien::Run(job); }),
              StartsWith("output: \"/dev/shm/x.txt\" does not end in"));
  job.output = "/dev/shm/x.json", job.only_templates = true;
  EXPECT_EQ(InputErrorOf([&] { mien::Run(job); }), "templates: this is for .csv");
}

TEST_F(OutputPlace, APipeGetsWhatItsEndingSays) {
  Write("take.csv", kTake);
  for (const auto& [name, format] : {std::pair("pipe.trc", "PathFileType"), {"pipe", "frame,time"}}) {
    const fs::path pipe = folder_ / name;
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK); // so that a writer need not wait
    EXPECT_EQ(Converted(pipe), "no InputError");
    char bytes[100];
    const ssize_t size = read(reader, bytes, sizeof bytes);
    close(reader);
    ASSERT_GT(size, 0);
    EXPECT_THAT(std::string(bytes, static_cast<std::size_t>(size)), StartsWith(format));
  }
}

TEST_F(OutputPlace, StandardInputThatIsTheOutputIsNotOverwritten) {
  const fs::path take = Write("take.csv", kTake);
  const StandardInput input(open(take.c_str(), O_RDONLY | O_CLOEXEC));
  for (const std::string name : {"-", "/dev/stdin"})
    EXPECT_EQ(Converted(name, take), "output: this is the take itself");
  EXPECT_EQ(mien::ReadFile(take), kTake);
}

TEST_F(OutputPlace, NamesThatAreTooLongAreDifferentPlaces) {
  const std::string a = folder_ / std::string(300, 'a'), b = folder_ / std::string(300, 'b');
  EXPECT_FALSE(mien::IsSamePlace(a, b));
  EXPECT_FALSE(mien::IsSamePlace(a, folder_ / "c"));
  EXPECT_TRUE(mien::IsSamePlace(folder_ / "c", folder_ / "." / "c"));
}

TEST_F(OutputPlace, StandardInputIsReadOnce) {
  const auto error = [](const std::vector<mien::NamedInput>& inputs) {
    return InputErrorOf([&] { mien::RefuseReadingTwice(inputs); });
  };
  EXPECT_EQ(error({{"take", "-"}, {"performer", "-"}}),
            "performer: standard input can be read once, and is the take already");
  EXPECT_EQ(error({{"take", "/dev/stdin"}, {"performer", "a"}, {"character", "-"}}),
            "character: standard input can be read once, and is the take already");
  EXPECT_EQ(error({{"take", "-"}, {"performer", ""}, {"character", "a"}, {"onto", "./-"}}), "no InputError");
}
