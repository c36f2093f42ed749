#include "crashRegisters.h"

#include <cstddef>

#include "crashHandlerUtils.h"

namespace {

struct NamedRegister {
    const char* name;
    int index; // in the context's register array
};

// Writes name and value of each, four on a line.
template <size_t N, typename Value>
void print_named(int fd, const NamedRegister (&registers)[N], Value value) {
    for (size_t i = 0; i < N; ++i) {
        crash_printf(fd, "%-7s %0*lx%s", registers[i].name, int(2 * sizeof(long)), value(registers[i].index),
                     i % 4 == 3 || i + 1 == N ? "\n" : "  ");
    }
}

struct NamedBit {
    unsigned long mask;
    const char* text;
};

template <size_t N>
void print_bits(int fd, const char* title, unsigned long value, const NamedBit (&bits)[N]) {
    crash_printf(fd, "%s 0x%lx:", title, value);
    for (const NamedBit& bit : bits) {
        if ((value & bit.mask) != 0)
            crash_printf(fd, " %s", bit.text);
    }
    crash_printf(fd, "\n");
}

// Follows a chain of frames: each holds the address of the next (older) one in its first word. The return
// address stands `offset` bytes into the frame, or into the older one. Frames lie ever higher.
[[maybe_unused]] int walk_chain(uintptr_t frame, uintptr_t offset, bool in_older, void** addresses,
                                int limit) {
    int count = 0;
    while (count < limit) {
        uintptr_t older = 0;
        uintptr_t address = 0;
        if (!crash_read_memory(frame, &older, sizeof(older)) ||
            !crash_read_memory((in_older ? older : frame) + offset, &address, sizeof(address)) ||
            address == 0)
            break;
        addresses[count++] = reinterpret_cast<void*>(address);
        if (older <= frame)
            break;
        frame = older;
    }
    return count;
}

struct NamedException {
    unsigned long number;
    const char* text;
};

template <size_t N>
void print_exception(int fd, unsigned long number, const NamedException (&exceptions)[N]) {
    const char* text = "unknown";
    for (const NamedException& exception : exceptions) {
        if (exception.number == number)
            text = exception.text;
    }
    crash_printf(fd, "exception 0x%lx: %s\n", number, text);
}

} // namespace

#if defined(__x86_64__)

namespace {

constexpr NamedRegister REGISTERS[] = {
    {"rip", REG_RIP}, {"rsp", REG_RSP}, {"rbp", REG_RBP}, {"eflags", REG_EFL}, {"rax", REG_RAX},
    {"rbx", REG_RBX}, {"rcx", REG_RCX}, {"rdx", REG_RDX}, {"rsi", REG_RSI},    {"rdi", REG_RDI},
    {"r8", REG_R8},   {"r9", REG_R9},   {"r10", REG_R10}, {"r11", REG_R11},    {"r12", REG_R12},
    {"r13", REG_R13}, {"r14", REG_R14}, {"r15", REG_R15}, {"cr2", REG_CR2},    {"csgsfs", REG_CSGSFS},
};

constexpr NamedException EXCEPTIONS[] = {
    {0, "divide error"},        {1, "debug"},
    {3, "breakpoint"},          {4, "overflow"},
    {6, "invalid opcode"},      {12, "stack segment fault"},
    {13, "general protection"}, {14, "page fault"},
    {16, "floating point"},     {17, "alignment check"},
    {18, "machine check"},      {19, "SIMD floating point"},
};

constexpr NamedBit PAGE_FAULT_BITS[] = {
    {0x01, "protection"},        {0x02, "write"}, {0x04, "user"}, {0x08, "reserved-bit"},
    {0x10, "instruction-fetch"},
};

unsigned long greg(const ucontext_t* context, int index) {
    return static_cast<unsigned long>(context->uc_mcontext.gregs[index]);
}

} // namespace

uintptr_t crash_register_pc(const ucontext_t* context) {
    return context != nullptr ? greg(context, REG_RIP) : 0;
}

uintptr_t crash_register_sp(const ucontext_t* context) {
    return context != nullptr ? greg(context, REG_RSP) : 0;
}

int crash_walk_frames(const ucontext_t* context, void** addresses, int limit) {
    if (context == nullptr || limit < 2)
        return 0;
    uintptr_t caller = 0; // on top of the stack, put there by the call
    addresses[0] = reinterpret_cast<void*>(crash_register_pc(context));
    if (!crash_read_memory(crash_register_sp(context), &caller, sizeof(caller)))
        return 1;
    addresses[1] = reinterpret_cast<void*>(caller);
    return 2 + walk_chain(greg(context, REG_RBP), sizeof(uintptr_t), false, addresses + 2, limit - 2);
}

void crash_print_registers(int fd, const ucontext_t* context, bool exception) {
    if (context == nullptr)
        return crash_printf(fd, "not known\n");
    print_named(fd, REGISTERS, [&](int index) { return greg(context, index); });
    if (!exception)
        return crash_printf(fd, "exception: none\n");
    print_exception(fd, greg(context, REG_TRAPNO), EXCEPTIONS);
    print_bits(fd, "error code", greg(context, REG_ERR), PAGE_FAULT_BITS);
}

#elif defined(__powerpc__)

namespace {

// Places of the register array, the kernel's PT_ numbers; 0 to 31 are the general registers.
enum {
    PPC_NIP = 32,
    PPC_MSR,
    PPC_ORIG_R3,
    PPC_CTR,
    PPC_LNK,
    PPC_XER,
    PPC_CCR,
    PPC_TRAP = 40,
    PPC_DAR,
    PPC_DSISR
};

constexpr NamedRegister REGISTERS[] = {
    {"nip", PPC_NIP}, {"msr", PPC_MSR}, {"ctr", PPC_CTR}, {"lr", PPC_LNK},
    {"xer", PPC_XER}, {"cr", PPC_CCR},  {"dar", PPC_DAR}, {"dsisr", PPC_DSISR},
};

constexpr NamedException EXCEPTIONS[] = {
    {0x100, "critical input"},
    {0x200, "machine check"},
    {0x300, "data storage"},
    {0x400, "instruction storage"},
    {0x500, "external input"},
    {0x600, "alignment"},
    {0x700, "program"},
    {0x800, "floating point unavailable"},
    {0x900, "decrementer"},
    {0xc00, "system call"},
    {0xd00, "trace"},
    {0x1000, "instruction TLB miss"},
    {0x1100, "data TLB miss on load"},
    {0x1200, "data TLB miss on store"},
};

constexpr NamedBit MSR_BITS[] = {
    {0x8000, "EE"}, {0x4000, "PR"},  {0x2000, "FP"}, {0x1000, "ME"}, {0x0800, "FE0"},
    {0x0200, "DE"}, {0x0100, "FE1"}, {0x0020, "IS"}, {0x0010, "DS"}, {0x0002, "RI"},
};

// Reasons of a program exception and of a machine check, as the kernel leaves them in the saved MSR.
constexpr NamedBit PROGRAM_BITS[] = {
    {0x100000, "floating point"},
    {0x80000, "illegal instruction"},
    {0x40000, "privileged instruction"},
    {0x20000, "trap"},
};
constexpr NamedBit MACHINE_CHECK_BITS[] = {
    {0x80000, "machine check signal"},
    {0x40000, "transfer error"},
    {0x20000, "data parity"},
    {0x10000, "address parity"},
    {0x100000, "second-level cache parity"},
    {0x20000000, "data cache"},
    {0x40000000, "instruction cache"},
};

unsigned long greg(const ucontext_t* context, int index) {
#ifdef __powerpc64__
    return static_cast<unsigned long>(context->uc_mcontext.gp_regs[index]);
#else
    return static_cast<unsigned long>(context->uc_mcontext.uc_regs->gregs[index]);
#endif
}

} // namespace

uintptr_t crash_register_pc(const ucontext_t* context) {
    return context != nullptr ? greg(context, PPC_NIP) : 0;
}

uintptr_t crash_register_sp(const ucontext_t* context) {
    return context != nullptr ? greg(context, 1) : 0;
}

int crash_walk_frames(const ucontext_t* context, void** addresses, int limit) {
    if (context == nullptr || limit < 2)
        return 0;
    constexpr uintptr_t SAVED_LINK = sizeof(long) == 8 ? 16 : 4; // place of the link register in a frame
    addresses[0] = reinterpret_cast<void*>(crash_register_pc(context));
    addresses[1] = reinterpret_cast<void*>(greg(context, PPC_LNK));
    return 2 + walk_chain(crash_register_sp(context), SAVED_LINK, true, addresses + 2, limit - 2);
}

void crash_print_registers(int fd, const ucontext_t* context, bool exception) {
    if (context == nullptr)
        return crash_printf(fd, "not known\n");
    for (int i = 0; i < 32; ++i)
        crash_printf(fd, "r%-6d %0*lx%s", i, int(2 * sizeof(long)), greg(context, i),
                     i % 4 == 3 ? "\n" : "  ");
    print_named(fd, REGISTERS, [&](int index) { return greg(context, index); });
    print_bits(fd, "msr", greg(context, PPC_MSR), MSR_BITS);
    if (!exception)
        return crash_printf(fd, "exception: none\n");
    const unsigned long vector = greg(context, PPC_TRAP) & ~0xful; // the low bits are the kernel's
    print_exception(fd, vector, EXCEPTIONS);
    if (vector == 0x200)
        print_bits(fd, "machine check reason", greg(context, PPC_MSR), MACHINE_CHECK_BITS);
    if (vector == 0x700)
        print_bits(fd, "program reason", greg(context, PPC_MSR), PROGRAM_BITS);
}

#else

uintptr_t crash_register_pc(const ucontext_t* /*context*/) {
    return 0;
}

uintptr_t crash_register_sp(const ucontext_t* /*context*/) {
    return 0;
}

int crash_walk_frames(const ucontext_t* /*context*/, void** /*addresses*/, int /*limit*/) {
    return 0;
}

void crash_print_registers(int fd, const ucontext_t* /*context*/, bool /*exception*/) {
    crash_printf(fd, "not known on this processor\n");
}

#endif
