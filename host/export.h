#pragma once

// The shared object hides everything except what is marked here: the functions, classes and
// process-wide variables that other code may reach by name.
#define VEL_EXPORT __attribute__((visibility("default")))
