// The profile reader answers as the Windows reader does: every expected
// answer below was observed from the Windows reader under Wine, and this same
// table runs natively against the POSIX reader and as a Windows program.

#include "platform/profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "tests/support/test_paths.h"

namespace {

namespace fs = std::filesystem;
using Orvik::Platform::ReadProfileValue;

struct ProfileFile {
    const char* name;
    std::string text;
};

struct Query {
    const char* file;  // "missing" is never written
    const char* section;
    const char* key;
    const char* defaultValue;
    uint32_t size;
    uint32_t result;
    const char* text;  // unused for size 0, where the buffer stays untouched
};

using Orvik::Testing::FrameworkPath;

class ProfileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // A fresh directory per run: the Windows reader caches files by name.
        directory_ = fs::temp_directory_path() / ("orvik_profile_" + std::to_string(std::random_device{}()));
        fs::create_directories(directory_);
    }

    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(directory_, ignored);
    }

    std::string PathOf(const char* name) const { return FrameworkPath(directory_ / (std::string(name) + ".ini")); }

    void Write(const std::vector<ProfileFile>& files) const
    {
        for (const ProfileFile& file : files) {
            std::ofstream(directory_ / (std::string(file.name) + ".ini"), std::ios::binary) << file.text;
        }
    }

    // Checks result and text, and that nothing outside the first size bytes
    // of the buffer was written.
    void Check(const std::vector<Query>& queries) const
    {
        for (const Query& query : queries) {
            SCOPED_TRACE(::testing::Message() << query.file << " [" << query.section << "] " << query.key << " default "
                                              << (query.defaultValue ? query.defaultValue : "(null)") << " size "
                                              << query.size);
            std::vector<char> memory(query.size + 9, 'X');
            char* buffer = memory.data() + 1;
            const uint32_t result = ReadProfileValue(query.section, query.key, query.defaultValue, buffer,
                                                     query.size, PathOf(query.file).c_str());
            EXPECT_EQ(result, query.result);
            if (query.size > 0) {
                char* end = std::find(buffer, buffer + query.size, '\0');
                ASSERT_NE(end, buffer + query.size) << "not terminated";
                EXPECT_EQ(std::string(buffer, end), query.text);
            }
            EXPECT_EQ(memory.front(), 'X');
            EXPECT_TRUE(std::all_of(buffer + query.size, memory.data() + memory.size(), [](char c) { return c == 'X'; }));
        }
    }

    void Run(const std::vector<ProfileFile>& files, const std::vector<Query>& queries) const
    {
        Write(files);
        Check(queries);
    }

    fs::path directory_;
};

const std::vector<ProfileFile> kNamesFiles = {
    {"m_basic", "[Main]\r\nName=Value\r\nkey2 = spaced value \r\n\tTabbed\t=\tvalue\t\r\nmy key=inner\r\n"},
    {"m_secblank", "  [ Spaced ]  \r\nk=s\r\n[\tTabbed\t]\r\nk=t\r\n[Inner Space]\r\nk=i\r\n[]\r\nk=empty\r\n"},
    {"x_ws", "[\x0BV\x0C]\r\n\x0Bk\x0C=\x0Bv\x0C\r\nsp=a  b\r\n  lead=l\r\n"},
    {"v_blank", "[S]\r\n   \r\n\r\n=v\r\n"},
};
const std::vector<Query> kNamesQueries = {
    {"m_basic", "Main", "Name", "d", 64, 5, "Value"},
    {"m_basic", "MAIN", "name", "d", 64, 5, "Value"},
    {"m_basic", "main", "KEY2", "d", 64, 12, "spaced value"},
    {"m_basic", "Main", "Tabbed", "d", 64, 5, "value"},
    {"m_basic", "Main", "my key", "d", 64, 5, "inner"},
    {"m_basic", "Main", "MY KEY", "d", 64, 5, "inner"},
    {"m_basic", "Main", "mykey", "d", 64, 1, "d"},
    {"m_basic", "Main", " Name ", "d", 64, 5, "Value"},
    {"m_basic", "Main", "\tName", "d", 64, 5, "Value"},
    {"m_basic", " Main ", "Name", "d", 64, 5, "Value"},
    {"m_basic", "Mai", "Name", "d", 64, 1, "d"},
    {"m_basic", "Main", "Nam", "d", 64, 1, "d"},
    {"m_basic", "Main", "Name2", "d", 64, 1, "d"},
    {"m_secblank", "Spaced", "k", "d", 64, 1, "s"},
    {"m_secblank", " Spaced ", "k", "d", 64, 1, "s"},
    {"m_secblank", "Tabbed", "k", "d", 64, 1, "t"},
    {"m_secblank", "Inner Space", "k", "d", 64, 1, "i"},
    {"m_secblank", "inner space", "k", "d", 64, 1, "i"},
    {"m_secblank", "InnerSpace", "k", "d", 64, 1, "d"},
    {"m_secblank", "", "k", "d", 64, 1, "d"},
    {"m_secblank", " ", "k", "d", 64, 1, "d"},
    {"x_ws", "V", "k", "d", 64, 1, "v"},
    {"x_ws", "\x0B" "V\x0C", "\x0B" "k\x0C", "d", 64, 1, "v"},
    {"x_ws", "V", "sp", "d", 64, 4, "a  b"},
    {"x_ws", "V", "lead", "d", 64, 1, "l"},
    {"v_blank", "S", "", "d", 64, 1, "v"},
    {"v_blank", "S", " ", "d", 64, 1, "v"},
};
const std::vector<ProfileFile> kQuotesFiles = {
    {"q_all", "[Q]\r\ndq=\"quoted\"\r\nsq='single'\r\ndqs=\" spaced inside \"\r\nun=\"unmatched\r\nune=unmatched\"\r\n"
    "mix=\"mixed'\r\nmix2='mixed\"\r\ninner=a\"b\"c\r\ntwo=\"a\" \"b\"\r\ndqsp=  \"x\"  \r\nempty=\"\"\r\none=\"\r\n"
    "sqempty=''\r\nsqone='\r\nnested=\"'n'\"\r\ndouble=\"\"x\"\"\r\nkq\"=v\r\n\"qk\"=qv\r\nmid=\"a\"b\"\r\nbl=  \"  \"  \r\na=\"a\"\r\n"},
};
const std::vector<Query> kQuotesQueries = {
    {"q_all", "Q", "dq", "d", 64, 6, "quoted"},
    {"q_all", "Q", "sq", "d", 64, 6, "single"},
    {"q_all", "Q", "dqs", "d", 64, 15, " spaced inside "},
    {"q_all", "Q", "un", "d", 64, 10, "\"unmatched"},
    {"q_all", "Q", "une", "d", 64, 10, "unmatched\""},
    {"q_all", "Q", "mix", "d", 64, 7, "\"mixed'"},
    {"q_all", "Q", "mix2", "d", 64, 7, "'mixed\""},
    {"q_all", "Q", "inner", "d", 64, 5, "a\"b\"c"},
    {"q_all", "Q", "two", "d", 64, 5, "a\" \"b"},
    {"q_all", "Q", "dqsp", "d", 64, 1, "x"},
    {"q_all", "Q", "empty", "d", 64, 0, ""},
    {"q_all", "Q", "one", "d", 64, 1, "\""},
    {"q_all", "Q", "sqempty", "d", 64, 0, ""},
    {"q_all", "Q", "sqone", "d", 64, 1, "'"},
    {"q_all", "Q", "nested", "d", 64, 3, "'n'"},
    {"q_all", "Q", "double", "d", 64, 3, "\"x\""},
    {"q_all", "Q", "kq\"", "d", 64, 1, "v"},
    {"q_all", "Q", "qk", "d", 64, 1, "d"},
    {"q_all", "Q", "\"qk\"", "d", 64, 2, "qv"},
    {"q_all", "Q", "mid", "d", 64, 3, "a\"b"},
    {"q_all", "Q", "bl", "d", 64, 2, "  "},
    {"q_all", "Q", "dq", "d", 1, 0, ""},
    {"q_all", "Q", "dq", "d", 2, 1, "q"},
    {"q_all", "Q", "dq", "d", 3, 2, "qu"},
    {"q_all", "Q", "dq", "d", 6, 5, "quote"},
    {"q_all", "Q", "dq", "d", 7, 5, "quote"},
    {"q_all", "Q", "dq", "d", 8, 6, "quoted"},
    {"q_all", "Q", "un", "d", 3, 2, "\"u"},
    {"q_all", "Q", "sq", "d", 7, 5, "singl"},
    {"q_all", "Q", "empty", "d", 1, 0, ""},
    {"q_all", "Q", "empty", "d", 2, 0, ""},
    {"q_all", "Q", "a", "d", 1, 0, ""},
    {"q_all", "Q", "a", "d", 2, 0, ""},
    {"q_all", "Q", "a", "d", 3, 1, "a"},
};
const std::vector<ProfileFile> kCommentLikeLinesFiles = {
    {"c_all", ";pre=1\r\n#hpre=2\r\n[Sec]\r\n;semi=3\r\n#hash=4\r\nkey=value ; not a comment\r\nkey2=value # hash\r\n  ;indented=5\r\n  #hind=6\r\n//sl=7\r\n"},
    {"c_sec", "[;Semi]\r\nk=1\r\n;[Commented]\r\nk=2\r\n[#Hash]\r\nk=3\r\n"},
};
const std::vector<Query> kCommentLikeLinesQueries = {
    {"c_all", "Sec", ";semi", "d", 64, 1, "3"},
    {"c_all", "Sec", "semi", "d", 64, 1, "d"},
    {"c_all", "Sec", "#hash", "d", 64, 1, "4"},
    {"c_all", "Sec", "hash", "d", 64, 1, "d"},
    {"c_all", "Sec", "key", "d", 64, 21, "value ; not a comment"},
    {"c_all", "Sec", "key2", "d", 64, 12, "value # hash"},
    {"c_all", "Sec", ";indented", "d", 64, 1, "5"},
    {"c_all", "Sec", "indented", "d", 64, 1, "d"},
    {"c_all", "Sec", "#hind", "d", 64, 1, "6"},
    {"c_all", "Sec", "//sl", "d", 64, 1, "7"},
    {"c_all", "", ";pre", "d", 64, 1, "1"},
    {"c_all", "", "#hpre", "d", 64, 1, "2"},
    {"c_sec", ";Semi", "k", "d", 64, 1, "1"},
    {"c_sec", "Commented", "k", "d", 64, 1, "d"},
    {"c_sec", ";[Commented]", "k", "d", 64, 1, "d"},
    {"c_sec", "#Hash", "k", "d", 64, 1, "3"},
};
const std::vector<ProfileFile> kEntriesFiles = {
    {"s_noeq", "[S]\r\nlonely\r\nkey=v\r\n  spaced lonely  \r\nafter=a\r\nlonely=x\r\n"},
    {"s_orphan", "orphan=1\r\n[S]\r\nk=v\r\n"},
    {"s_repsec", "[A]\r\nk1=first\r\n[B]\r\nx=1\r\n[a]\r\nk1=second\r\nk2=only second\r\n"},
    {"s_repnull", "[S]\r\nk\r\n[S]\r\nk=second\r\n"},
    {"s_repkey", "[S]\r\nk=first\r\nK=second\r\ne=\r\ne=second\r\n"},
    {"s_eqval", "[S]\r\nk=a=b\r\nk2==v\r\n=novalue\r\nk3 = = x\r\n"},
    {"s_eqonly", "[S]\r\n  =  \r\n=w\r\n"},
    {"s_empty", ""},
    {"s_emptyval", "[S]\r\nk=\r\nk2=   \r\nk3 = \t\r\n"},
    {"s_blanksonly", "[S]\r\n   \r\n\t\r\n\r\nk=v\r\n"},
};
const std::vector<Query> kEntriesQueries = {
    {"s_noeq", "S", "lonely", "d", 64, 1, "d"},
    {"s_noeq", "S", "key", "d", 64, 1, "v"},
    {"s_noeq", "S", "spaced lonely", "d", 64, 1, "d"},
    {"s_noeq", "S", "after", "d", 64, 1, "a"},
    {"s_orphan", "S", "orphan", "d", 64, 1, "d"},
    {"s_orphan", "", "orphan", "d", 64, 1, "1"},
    {"s_orphan", "S", "k", "d", 64, 1, "v"},
    {"s_repsec", "A", "k1", "d", 64, 5, "first"},
    {"s_repsec", "A", "k2", "d", 64, 1, "d"},
    {"s_repsec", "a", "k2", "d", 64, 1, "d"},
    {"s_repsec", "B", "x", "d", 64, 1, "1"},
    {"s_repnull", "S", "k", "d", 64, 1, "d"},
    {"s_repkey", "S", "k", "d", 64, 5, "first"},
    {"s_repkey", "S", "e", "d", 64, 0, ""},
    {"s_eqval", "S", "k", "d", 64, 3, "a=b"},
    {"s_eqval", "S", "k2", "d", 64, 2, "=v"},
    {"s_eqval", "S", "", "d", 64, 7, "novalue"},
    {"s_eqval", "S", "k3", "d", 64, 3, "= x"},
    {"s_eqonly", "S", "", "d", 64, 0, ""},
    {"s_empty", "S", "k", "d", 64, 1, "d"},
    {"s_empty", "", "k", "d", 64, 1, "d"},
    {"s_emptyval", "S", "k", "d", 64, 0, ""},
    {"s_emptyval", "S", "k2", "d", 64, 0, ""},
    {"s_emptyval", "S", "k3", "d", 64, 0, ""},
    {"s_blanksonly", "S", "k", "d", 64, 1, "v"},
};
const std::vector<ProfileFile> kSectionHeadersFiles = {
    {"h_brk", "top=1\r\n[Broken\r\nk=v\r\n[Good]\r\nk=g\r\n[Mid]dle]\r\nk=m\r\n"},
    {"h_after", "[Sec] trailing\r\nk=v\r\n[Two]x\r\nk=w\r\n[Three]]\r\nk=z\r\n[Four] tail]\r\nk=f\r\n"},
    {"h_odd", "[Broken=x\r\nx[S]\r\n[a=b]\r\nk=ab\r\n[T]=v\r\nk=t\r\n[ ]\r\nk=blank\r\n"},
    {"h_emptyfirst", "[]\r\nk=v\r\n[S]\r\nk=s\r\n"},
    {"h_open", "[S]\r\nk=v\r\n[Open\r\n"},
};
const std::vector<Query> kSectionHeadersQueries = {
    {"h_brk", "", "top", "d", 64, 1, "1"},
    {"h_brk", "", "k", "d", 64, 1, "v"},
    {"h_brk", "", "[Broken", "d", 64, 1, "d"},
    {"h_brk", "Broken", "k", "d", 64, 1, "d"},
    {"h_brk", "[Broken", "k", "d", 64, 1, "d"},
    {"h_brk", "Good", "k", "d", 64, 1, "g"},
    {"h_brk", "Mid", "k", "d", 64, 1, "d"},
    {"h_brk", "Mid]dle", "k", "d", 64, 1, "m"},
    {"h_after", "Sec", "k", "d", 64, 1, "v"},
    {"h_after", "Two", "k", "d", 64, 1, "w"},
    {"h_after", "Three", "k", "d", 64, 1, "d"},
    {"h_after", "Three]", "k", "d", 64, 1, "z"},
    {"h_after", "Four", "k", "d", 64, 1, "d"},
    {"h_after", "Four] tail", "k", "d", 64, 1, "f"},
    {"h_odd", "", "[Broken", "d", 64, 1, "x"},
    {"h_odd", "", "x[S]", "d", 64, 1, "d"},
    {"h_odd", "S", "k", "d", 64, 1, "d"},
    {"h_odd", "a=b", "k", "d", 64, 2, "ab"},
    {"h_odd", "T", "k", "d", 64, 1, "t"},
    {"h_odd", "", "k", "d", 64, 1, "d"},
    {"h_emptyfirst", "", "k", "d", 64, 1, "d"},
    {"h_emptyfirst", "S", "k", "d", 64, 1, "s"},
    {"h_open", "S", "k", "d", 64, 1, "v"},
    {"h_open", "Open", "k", "d", 64, 1, "d"},
};
const std::vector<ProfileFile> kLineEndsFiles = {
    {"l_lf", "[S]\nk=lf\nk2=two\n"},
    {"l_cr", "[S]\rk=cr\rk2=two\r"},
    {"l_mixed", "[S]\r\nk=mixed\rk2=cr\nk3=lf\r\n"},
    {"l_nofinal", "[S]\r\nk=last"},
    {"l_blank", "\r\n\r\n[S]\r\n\r\n\r\nk=v\r\n\r\n"},
    {"l_bom", "\xEF\xBB\xBF[S]\r\nk=bom\r\n"},
    {"l_bomkey", "\xEF\xBB\xBFk0=x\r\n[S]\r\nk=v\r\n"},
    {"l_crcr", "[S]\r\r\nk=v\r\r\n"},
    {"l_lone", "[S]\r\n\r\r\rk=v\r\n\n\nk2=w"},
};
const std::vector<Query> kLineEndsQueries = {
    {"l_lf", "S", "k", "d", 64, 2, "lf"},
    {"l_lf", "S", "k2", "d", 64, 3, "two"},
    {"l_cr", "S", "k", "d", 64, 2, "cr"},
    {"l_cr", "S", "k2", "d", 64, 3, "two"},
    {"l_mixed", "S", "k", "d", 64, 5, "mixed"},
    {"l_mixed", "S", "k2", "d", 64, 2, "cr"},
    {"l_mixed", "S", "k3", "d", 64, 2, "lf"},
    {"l_nofinal", "S", "k", "d", 64, 4, "last"},
    {"l_blank", "S", "k", "d", 64, 1, "v"},
    {"l_bom", "S", "k", "d", 64, 3, "bom"},
    {"l_bomkey", "S", "k", "d", 64, 1, "v"},
    {"l_bomkey", "", "k0", "d", 64, 1, "x"},
    {"l_crcr", "S", "k", "d", 64, 1, "v"},
    {"l_lone", "S", "k", "d", 64, 1, "v"},
    {"l_lone", "S", "k2", "d", 64, 1, "w"},
};
const std::vector<ProfileFile> kDefaultsFiles = {
    {"d_file", "[S]\r\nk=v\r\nlone\r\n"},
};
const std::vector<Query> kDefaultsQueries = {
    {"d_file", "S", "no", "dflt", 64, 4, "dflt"},
    {"d_file", "S", "no", "", 64, 0, ""},
    {"d_file", "S", "no", nullptr, 64, 0, ""},
    {"d_file", "S", "no", "dflt  ", 64, 4, "dflt"},
    {"d_file", "S", "no", "  dflt", 64, 6, "  dflt"},
    {"d_file", "S", "no", "dflt\t", 64, 5, "dflt\t"},
    {"d_file", "S", "no", " \t ", 64, 2, " \t"},
    {"d_file", "S", "no", "  ", 64, 1, " "},
    {"d_file", "S", "no", "d\x0B", 64, 2, "d\x0B"},
    {"d_file", "S", "no", "d\r\n", 64, 3, "d\r\n"},
    {"d_file", "S", "no", "\"q\"", 64, 1, "q"},
    {"d_file", "S", "no", "'q'", 64, 1, "q"},
    {"d_file", "S", "no", "  \"q\"", 64, 5, "  \"q\""},
    {"d_file", "S", "no", "\"q\"  ", 64, 1, "q"},
    {"d_file", "S", "no", "\"a'", 64, 3, "\"a'"},
    {"d_file", "S", "no", "\"", 64, 1, "\""},
    {"d_file", "S", "no", "\"\"", 64, 0, ""},
    {"d_file", "S", "no", "\"\"", 1, 0, ""},
    {"d_file", "S", "no", "\"a\"", 2, 0, ""},
    {"d_file", "S", "no", "\"abc\"", 3, 2, "ab"},
    {"d_file", "S", "no", "\"abc\"", 4, 2, "ab"},
    {"d_file", "S", "no", "\"abc\"", 5, 3, "abc"},
    {"d_file", "S", "no", "\"abc\"", 6, 3, "abc"},
    {"d_file", "S", "no", "\"q\" ", 3, 1, "q"},
    {"d_file", "S", "no", "dflt ", 5, 4, "dflt"},
    {"d_file", "S", "no", "dflt  ", 5, 4, "dflt"},
    {"d_file", "S", "no", "ab  ", 3, 2, "ab"},
    {"d_file", "S", "no", "ab  ", 4, 2, "ab"},
    {"d_file", "S", "no", "default", 1, 0, ""},
    {"d_file", "S", "no", "default", 4, 3, "def"},
    {"d_file", "S", "no", "default", 7, 6, "defaul"},
    {"d_file", "S", "no", "default", 8, 7, "default"},
    {"d_file", "X", "k", "dflt", 64, 4, "dflt"},
    {"d_file", "S", "k", "dflt", 64, 1, "v"},
    {"d_file", "S", "lone", "dflt", 64, 4, "dflt"},
    {"missing", "S", "k", "d", 64, 1, "d"},
    {"missing", "S", "k", "", 64, 0, ""},
    {"missing", "S", "k", nullptr, 64, 0, ""},
    {"missing", "S", "k", "\"m\" ", 64, 1, "m"},
};
const std::vector<ProfileFile> kSizesFiles = {
    {"z_long", "[S]\r\nk=0123456789\r\ne=\r\n"},
};
const std::vector<Query> kSizesQueries = {
    {"z_long", "S", "k", "d", 1, 0, ""},
    {"z_long", "S", "k", "d", 2, 1, "0"},
    {"z_long", "S", "k", "d", 5, 4, "0123"},
    {"z_long", "S", "k", "d", 10, 9, "012345678"},
    {"z_long", "S", "k", "d", 11, 10, "0123456789"},
    {"z_long", "S", "k", "d", 12, 10, "0123456789"},
    {"z_long", "S", "k", "d", 0, 0, ""},
    {"z_long", "S", "e", "d", 1, 0, ""},
    {"z_long", "S", "e", "d", 0, 0, ""},
    {"z_long", "S", "no", "dflt", 0, 0, ""},
};

TEST_F(ProfileTest, NamesMatchIgnoringCaseAndSurroundingBlanks) { Run(kNamesFiles, kNamesQueries); }

TEST_F(ProfileTest, OnePairOfEnclosingQuotesIsRemoved) { Run(kQuotesFiles, kQuotesQueries); }

TEST_F(ProfileTest, CommentLikeLinesAreOrdinaryLines) { Run(kCommentLikeLinesFiles, kCommentLikeLinesQueries); }

TEST_F(ProfileTest, FirstSectionAndFirstEntryOfANameAnswer) { Run(kEntriesFiles, kEntriesQueries); }

TEST_F(ProfileTest, SectionHeadersEndAtTheLastBracket) { Run(kSectionHeadersFiles, kSectionHeadersQueries); }

TEST_F(ProfileTest, AnyLineEndAndAByteOrderMarkAreAccepted) { Run(kLineEndsFiles, kLineEndsQueries); }

TEST_F(ProfileTest, DefaultsLoseTrailingSpacesAndQuotes) { Run(kDefaultsFiles, kDefaultsQueries); }

TEST_F(ProfileTest, ValuesAreCutToTheBuffer) { Run(kSizesFiles, kSizesQueries); }

TEST_F(ProfileTest, LongLinesAreReadWhole)
{
    const std::string value = std::string(3000, 'a') + "b";
    Write({{"z_line", "[S]\r\nk=" + value + "\r\nk2=ok\r\n"}});
    std::vector<char> buffer(3003);
    EXPECT_EQ(ReadProfileValue("S", "k", "d", buffer.data(), 3003, PathOf("z_line").c_str()), 3001u);
    EXPECT_EQ(buffer.data(), value);
    EXPECT_EQ(ReadProfileValue("S", "k", "d", buffer.data(), 3001, PathOf("z_line").c_str()), 3000u);
    EXPECT_EQ(buffer.data(), value.substr(0, 3000));
    EXPECT_EQ(ReadProfileValue("S", "k2", "d", buffer.data(), 3001, PathOf("z_line").c_str()), 2u);
    EXPECT_STREQ(buffer.data(), "ok");
}

}  // namespace
