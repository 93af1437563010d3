// Files the library writes are replaced whole or not at all: a write that
// fails part-way, or a document that fails validation, leaves the old file
// as it was and no temporary file behind.

#include "TestHelpers.h"
#include "binding/BindingSupport.h"
#include "binding/TestSchema.h"

#include <csignal>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

std::string ReadText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

size_t FilesIn(const std::filesystem::path& dir)
{
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir), {}));
}

CSmartPtr<CElement> Document(int items)
{
    std::wstring xml = L"<doc>";
    for (int i = 0; i < items; ++i) {
        xml += L"<item>" + std::to_wstring(i) + L"</item>";
    }
    CSmartPtr<CElement> root(new CElement(L"doc", L"", L"##any", L""));
    root->FromXml((xml + L"</doc>").c_str());
    return root;
}

class FileOutput : public ::testing::Test
{
protected:
    void SetUp() override { std::ofstream(m_old) << "old content"; }
    TempDir m_dir;
    const std::string m_old = m_dir.File("out.xml");
    const std::wstring m_wold = Wide(m_old);
};

// Beyond the process's file-size limit every write fails (EFBIG), the way a
// full disk makes it fail: in a child process, so the limit stays there.
TEST_F(FileOutput, AWriteThatFailsPartWayLeavesTheOldFile)
{
    const CSmartPtr<CElement> big = Document(20000); // about 400 KB
    for (int how = 0; how < 3; ++how) {
        const pid_t pid = fork();
        if (pid == 0) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{4096, 4096};
            setrlimit(RLIMIT_FSIZE, &limit);
            try {
                if (how == 0) {
                    big->ToXmlFile(m_wold.c_str());
                } else {
                    big->ToXmlFile(m_wold.c_str(), true, true,
                                   how == 1 ? XmlEncoding_UTF8 : XmlEncoding_UTF16, EOL_LF,
                                   CSerializationContext::GetDefaultContext(),
                                   how == 1 ? Compression_None : Compression_GZip);
                }
            } catch (const CVxException& e) {
                const bool named = e.GetMessage().find(L"File too large") != std::wstring::npos;
                _exit(named ? 0 : 2);
            }
            _exit(1);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0) << "case " << how << ": 1 no failure, 2 no reason";
        EXPECT_TRUE(ReadText(m_old) == "old content") << "case " << how;
        EXPECT_EQ(FilesIn(m_dir.path), 1u) << "a temporary file was left behind";
    }
}

TEST_F(FileOutput, AnInvalidDocumentLeavesTheOldFile)
{
    // A mandatory child missing: the write fails after its first bytes.
    bt::CRandom random(7);
    CSmartPtr<bt::CRoot> root = bt::RandomRoot(random);
    root->SetObject(bt::CRoot::Address, nullptr);
    for (CompressionType compression : {Compression_None, Compression_GZip}) {
        EXPECT_THROW(root->ToXmlFile(m_wold.c_str(), true, true, XmlEncoding_UTF8, EOL_LF,
                                     CSerializationContext::GetDefaultContext(), compression),
                     CVxException);
        EXPECT_TRUE(ReadText(m_old) == "old content");
        EXPECT_EQ(FilesIn(m_dir.path), 1u);
    }
}

TEST_F(FileOutput, ReplacedFilesKeepTheirPermissionsAndLinks)
{
    chmod(m_old.c_str(), 0640);
    const std::string link = m_dir.File("link.xml");
    ASSERT_EQ(symlink(m_old.c_str(), link.c_str()), 0);
    Document(2)->ToXmlFile(Wide(link).c_str());
    struct stat status;
    ASSERT_EQ(lstat(link.c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode)) << "the link was replaced by a file";
    ASSERT_EQ(stat(m_old.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_NE(ReadText(m_old).find("<item>1</item>"), std::string::npos);

    // A new file gets what open() would give it.
    const mode_t mask = umask(027);
    Document(1)->ToXmlFile(Wide(m_dir.File("new.xml")).c_str());
    umask(mask);
    ASSERT_EQ(stat(m_dir.File("new.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(FileOutput, TheOutputMayBeTheInput)
{
    CSmartPtr<CElement> root(new CElement(L"doc", L"", L"##any", L""));
    Document(5)->ToXmlFile(m_wold.c_str());
    root->FromXmlFile(m_wold.c_str());
    CSmartPtr<CElement> item(new CElement(L"item"));
    item->SetText(L"5");
    root->GetChildElements()->Add(item);
    root->ToXmlFile(m_wold.c_str(), true, false);
    EXPECT_NE(ReadText(m_old).find("<item>4</item><item>5</item></doc>"), std::string::npos);
}

} // namespace
