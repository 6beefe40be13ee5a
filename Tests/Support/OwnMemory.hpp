#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

/// Looks for bytes in all memory of this process that can be written: heaps, stacks, variables.
class OwnMemory {
public:
    /// What to look for stands nowhere in clear: each byte of `coded` is one of the wanted bytes
    /// with all bits turned. The places where it was found, each with its mapping.
    [[nodiscard]] static std::vector<std::string> Find(std::string_view coded)
    {
        const Window window;
        std::vector<std::string> places;
        const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            unsigned long begin = 0, end = 0;
            char rights[5] = "";
            if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, rights) == 3 &&
                std::string_view(rights).starts_with("rw") && !window.LiesIn(begin, end) &&
                end - begin < ShadowBytes)
                Search(memory, window, begin, end, coded, line, places);
        }
        close(memory);
        return places;
    }

private:
    /// Mappings from this size on are what a sanitizer keeps about memory.
    static constexpr unsigned long ShadowBytes = 1ul << 34;
    static constexpr std::size_t WindowBytes = std::size_t{1} << 20;

    /// Memory of its own mapping, fenced off from its neighbours, which is not searched.
    struct Window {
        Window()
            : whole(static_cast<unsigned char*>(mmap(nullptr, WindowBytes + 2 * Fence, PROT_NONE,
                                                     MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
              bytes(whole + Fence)
        {
            (void)mprotect(bytes, WindowBytes, PROT_READ | PROT_WRITE);
        }
        ~Window() { (void)munmap(whole, WindowBytes + 2 * Fence); }
        Window(const Window&) = delete;
        Window& operator=(const Window&) = delete;
        [[nodiscard]] bool LiesIn(unsigned long begin, unsigned long end) const
        {
            const auto at = reinterpret_cast<std::uintptr_t>(bytes);
            return at >= begin && at < end;
        }

        static constexpr std::size_t Fence = std::size_t{1} << 16;
        unsigned char* whole;
        unsigned char* bytes;
    };

    static void Search(int memory, const Window& window, unsigned long begin, unsigned long end,
                       std::string_view coded, const std::string& mapping,
                       std::vector<std::string>& places)
    {
        for (auto at = begin; at + coded.size() <= end;) {
            const auto wanted = std::min<std::size_t>(WindowBytes, end - at);
            const auto count = pread(memory, window.bytes, wanted, static_cast<off_t>(at));
            if (count < static_cast<ssize_t>(coded.size()))
                return;
            const auto* const last = window.bytes + count;
            std::transform(window.bytes, window.bytes + count, window.bytes,
                           [](unsigned char byte) { return static_cast<unsigned char>(~byte); });
            for (const auto* from = window.bytes;;) {
                from = static_cast<const unsigned char*>(memmem(
                    from, static_cast<std::size_t>(last - from), coded.data(), coded.size()));
                if (from == nullptr)
                    break;
                char place[32];
                std::snprintf(place, sizeof place, "%lx in ",
                              at + static_cast<unsigned long>(from - window.bytes));
                places.push_back(place + mapping);
                ++from;
            }
            at += static_cast<unsigned long>(count) - coded.size() + 1;
        }
    }
};
