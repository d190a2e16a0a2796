// Part of the shared library alone, and only where it carries the C++ run-time itself: gives back, when
// a host unloads the library, what that run-time set aside for exceptions when it was loaded (72 KiB).
#if defined(__GNUC__)

namespace __gnu_cxx {
[[gnu::weak]] void __freeres(); // declared in no header; absent from some run-times
}

namespace {

[[gnu::destructor]] void give_back_the_reserve() {
    if (__gnu_cxx::__freeres != nullptr) __gnu_cxx::__freeres();
}

} // namespace

#endif
