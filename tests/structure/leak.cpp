// A library that shows what it should hide and uses what it should not.

#include <cstdio>

__attribute__((visibility("default"))) void Leak() { std::puts("leaking"); }
