#include "host/resolver.h"

void* (*gResolver)(const char* name) = nullptr;
double rbversion_rbversion = 0.0;

void* HCallResolver(const char* name) { return gResolver(name); }
