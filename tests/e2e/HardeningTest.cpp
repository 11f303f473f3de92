#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <link.h>

#include "support/TempFolder.h"

using testing::Contains;
using testing::Not;
using testing::StartsWith;

namespace {

using FileHeader = ElfW(Ehdr);
using Segment = ElfW(Phdr);
using Section = ElfW(Shdr);
using Symbol = ElfW(Sym);
using DynamicEntry = ElfW(Dyn);

/// A program of this machine's kind, as its file describes it.
class Program {
  public:
    explicit Program(const std::string& path) : bytes(support::readFile(path)), header(at<FileHeader>(0)) {
        if (bytes.compare(0, SELFMAG, ELFMAG) != 0) {
            throw std::runtime_error(path + " is no program");
        }
    }

    bool isPositionIndependent() const {
        return header.e_type == ET_DYN && (flagsOf(DT_FLAGS_1) & DF_1_PIE) != 0;
    }
    bool bindsAtOnce() const {
        return (flagsOf(DT_FLAGS) & DF_BIND_NOW) != 0 && (flagsOf(DT_FLAGS_1) & DF_1_NOW) != 0;
    }

    std::vector<Segment> segments(ElfW(Word) type) const {
        std::vector<Segment> found;
        for (const auto& segment : table<Segment>(header.e_phoff, header.e_phnum)) {
            if (segment.p_type == type) {
                found.push_back(segment);
            }
        }
        return found;
    }

    /// The functions that the program takes from libraries.
    std::set<std::string> imports() const {
        std::set<std::string> names;
        for (const auto& [symbol, name] : symbols(SHT_DYNSYM)) {
            if (symbol.st_shndx == SHN_UNDEF) {
                names.insert(name);
            }
        }
        return names;
    }

    /// The first four bytes of the function `name`.
    std::uint32_t beginOf(const std::string& name) const {
        for (const auto& [symbol, symbolName] : symbols(SHT_SYMTAB)) {
            if (symbolName == name && symbol.st_shndx != SHN_UNDEF) {
                return at<std::uint32_t>(offsetOf(symbol.st_value));
            }
        }
        throw std::runtime_error("no function " + name);
    }

    /// The libraries that the program cannot start without.
    std::vector<std::string> libraries() const {
        const std::size_t names = offsetOf(dynamicValues(DT_STRTAB).at(0));
        std::vector<std::string> found;
        for (const std::uint64_t name : dynamicValues(DT_NEEDED)) {
            found.push_back(textAt(names + name));
        }
        return found;
    }

    /// The tables through which the program finds functions and data of libraries.
    std::vector<Section> tablesOfAddresses() const {
        std::vector<Section> found;
        const auto all = sections();
        const std::size_t names = all.at(header.e_shstrndx).sh_offset;
        for (const auto& each : all) {
            if (textAt(names + each.sh_name).starts_with(".got")) {
                found.push_back(each);
            }
        }
        return found;
    }

  private:
    struct NamedSymbol {
        Symbol symbol;
        std::string name;
    };

    template <typename T> T at(std::size_t offset) const {
        T value = {};
        bytes.copy(reinterpret_cast<char*>(&value), sizeof value, offset);
        return value;
    }

    template <typename T> std::vector<T> table(std::size_t offset, std::size_t count) const {
        std::vector<T> entries;
        for (std::size_t i = 0; i < count; ++i) {
            entries.push_back(at<T>(offset + i * sizeof(T)));
        }
        return entries;
    }

    std::string textAt(std::size_t offset) const {
        return bytes.substr(offset, bytes.find('\0', offset) - offset);
    }

    std::vector<Section> sections() const { return table<Section>(header.e_shoff, header.e_shnum); }

    std::vector<NamedSymbol> symbols(ElfW(Word) tableType) const {
        std::vector<NamedSymbol> found;
        const auto all = sections();
        for (const auto& each : all) {
            if (each.sh_type == tableType) {
                const std::size_t names = all.at(each.sh_link).sh_offset;
                for (const auto& symbol : table<Symbol>(each.sh_offset, each.sh_size / sizeof(Symbol))) {
                    found.push_back({symbol, textAt(names + symbol.st_name)});
                }
            }
        }
        return found;
    }

    /// The values of the entries `tag` of the dynamic section.
    std::vector<std::uint64_t> dynamicValues(ElfW(Sxword) tag) const {
        std::vector<std::uint64_t> found;
        for (const auto& segment : segments(PT_DYNAMIC)) {
            for (const auto& entry :
                 table<DynamicEntry>(segment.p_offset, segment.p_filesz / sizeof(DynamicEntry))) {
                if (entry.d_tag == tag) {
                    found.push_back(entry.d_un.d_val);
                }
            }
        }
        return found;
    }

    /// The value of the entry `tag` of the dynamic section; 0 without one.
    std::uint64_t flagsOf(ElfW(Sxword) tag) const {
        const auto values = dynamicValues(tag);
        return values.empty() ? 0 : values[0];
    }

    std::size_t offsetOf(ElfW(Addr) address) const {
        for (const auto& segment : segments(PT_LOAD)) {
            if (address >= segment.p_vaddr && address - segment.p_vaddr < segment.p_filesz) {
                return segment.p_offset + (address - segment.p_vaddr);
            }
        }
        throw std::runtime_error("an address that is not in the file");
    }

    std::string bytes;
    FileHeader header;
};

class BuiltTool : public testing::Test {
  protected:
    const Program tool{HCD_TOOL};
};

TEST_F(BuiltTool, LiesAtAnotherAddressInEveryRun) { EXPECT_TRUE(tool.isPositionIndependent()); }

TEST_F(BuiltTool, BindsItsFunctionsBeforeItRuns) { EXPECT_TRUE(tool.bindsAtOnce()); }

TEST_F(BuiltTool, CannotChangeItsTableOfFunctionsAfterThat) {
    const auto readOnly = tool.segments(PT_GNU_RELRO);
    ASSERT_EQ(readOnly.size(), 1U);
    const auto tables = tool.tablesOfAddresses();
    EXPECT_FALSE(tables.empty());
    for (const auto& table : tables) {
        EXPECT_LE(readOnly[0].p_vaddr, table.sh_addr);
        EXPECT_GE(readOnly[0].p_vaddr + readOnly[0].p_memsz, table.sh_addr + table.sh_size);
    }
}

TEST_F(BuiltTool, CannotRunCodeOnItsStack) {
    const auto stack = tool.segments(PT_GNU_STACK);
    ASSERT_EQ(stack.size(), 1U);
    EXPECT_EQ(stack[0].p_flags & PF_X, 0U);
}

TEST_F(BuiltTool, HasNoCodeThatCanBeWritten) {
    for (const auto& segment : tool.segments(PT_LOAD)) {
        EXPECT_NE(segment.p_flags & (PF_W | PF_X), static_cast<unsigned>(PF_W | PF_X));
    }
}

TEST_F(BuiltTool, RunsWithoutTheLoginManagersLibrary) {
    const auto libraries = tool.libraries();
    EXPECT_THAT(libraries, Contains(StartsWith("libc.so")));
    EXPECT_THAT(libraries, Not(Contains(StartsWith("libsystemd"))));
}

TEST_F(BuiltTool, GuardsItsStack) { EXPECT_THAT(tool.imports(), Contains("__stack_chk_fail")); }

TEST_F(BuiltTool, ChecksTheSizesOfBuffersWhenItIsOptimised) {
    if (HCD_CHECKS_SIZES) {
        EXPECT_THAT(tool.imports(), Contains("__vsnprintf_chk"));
    } else {
        EXPECT_THAT(tool.imports(), Not(Contains("__vsnprintf_chk")));
    }
}

TEST_F(BuiltTool, MarksWhereFunctionsBegin) {
#if defined __x86_64__
    constexpr std::uint32_t mark = 0xfa1e0ff3; // endbr64
    EXPECT_EQ(tool.beginOf("main"), mark);
#elif defined __i386__
    constexpr std::uint32_t mark = 0xfb1e0ff3; // endbr32
    EXPECT_EQ(tool.beginOf("main"), mark);
#elif defined __aarch64__
    constexpr std::uint32_t signing = 0xd503233f; // paciasp
    constexpr std::uint32_t target = 0xd503245f;  // bti c
    EXPECT_THAT(tool.beginOf("main"), testing::AnyOf(signing, target));
#endif
}

} // namespace
