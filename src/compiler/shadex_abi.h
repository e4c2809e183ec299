/*
 * shadex back-end plug-in interface.
 *
 * A back-end compiler is a shared library exporting the entry points declared
 * below. This header is self-contained C (it also compiles as C++) so that a
 * plug-in can include it alone. Every record has a fixed layout on 64-bit
 * little-endian platforms; the static assertions at the end pin it down.
 *
 * Ownership: whatever a getter or shadex_compile fills belongs to the library
 * and is handed back through the matching release entry point exactly once.
 * shadex_inputs and everything it points to belongs to the caller.
 */
#ifndef SHADEX_ABI_H
#define SHADEX_ABI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t shadex_u32;

/* Key/value strings taken in pairs: entries[0] key, entries[1] value, ... */
typedef struct shadex_flexible_list {
    shadex_u32 count; /* number of strings, twice the number of pairs */
    shadex_u32 padding_;
    const char* const* entries;
} shadex_flexible_list;

typedef struct shadex_api_version {
    shadex_u32 major;
    shadex_u32 minor;
} shadex_api_version;

typedef struct shadex_hardware_core {
    const char* core;     /* core name in the library's own spelling */
    const char* revision; /* rNpM */
} shadex_hardware_core;

typedef struct shadex_capabilities {
    shadex_u32 core_count;
    shadex_u32 padding_;
    const shadex_hardware_core* cores;
    const void* reserved_;
    shadex_flexible_list metadata;
} shadex_capabilities;

typedef struct shadex_core_specific_capabilities {
    shadex_flexible_list capabilities;
} shadex_core_specific_capabilities;

typedef struct shadex_inputs {
    const void* source; /* source text or SPIR-V module */
    shadex_flexible_list options;
    shadex_hardware_core hardware;
    shadex_u32 reserved_; /* always 0 */
    shadex_u32 padding_;
} shadex_inputs;

typedef struct shadex_outputs {
    shadex_u32 variant_count;
    shadex_u32 padding0_;
    const shadex_flexible_list* variants;
    const void* reserved_[2];
    shadex_u32 error_count;
    shadex_u32 padding1_;
    const char* const* errors;
    shadex_u32 warning_count;
    shadex_u32 padding2_;
    const char* const* warnings;
} shadex_outputs;

/* Entry points. Status 0 is success; anything else is a failure code. */
typedef shadex_u32 (*shadex_get_api_version_fn)(shadex_api_version* version);
typedef shadex_u32 (*shadex_compile_fn)(const shadex_inputs* inputs, shadex_outputs* outputs);
typedef void (*shadex_release_outputs_fn)(shadex_outputs* outputs);
typedef shadex_u32 (*shadex_get_capabilities_fn)(shadex_capabilities* capabilities);
typedef void (*shadex_release_capabilities_fn)(shadex_capabilities* capabilities);
typedef shadex_u32 (*shadex_get_core_specific_capabilities_fn)(const shadex_hardware_core* core,
                                                               shadex_core_specific_capabilities* capabilities);
typedef void (*shadex_release_core_specific_capabilities_fn)(shadex_core_specific_capabilities* capabilities);

shadex_u32 shadex_get_api_version(shadex_api_version* version);
shadex_u32 shadex_compile(const shadex_inputs* inputs, shadex_outputs* outputs);
void shadex_release_outputs(shadex_outputs* outputs);
shadex_u32 shadex_get_capabilities(shadex_capabilities* capabilities);
void shadex_release_capabilities(shadex_capabilities* capabilities);
/* Interface 1.1 only. */
shadex_u32 shadex_get_core_specific_capabilities(const shadex_hardware_core* core,
                                                 shadex_core_specific_capabilities* capabilities);
void shadex_release_core_specific_capabilities(shadex_core_specific_capabilities* capabilities);

#ifdef __cplusplus
}
#define SHADEX_STATIC_ASSERT static_assert
#else
#define SHADEX_STATIC_ASSERT _Static_assert
#endif

SHADEX_STATIC_ASSERT(sizeof(void*) == 8, "the interface assumes 64-bit pointers");

SHADEX_STATIC_ASSERT(sizeof(shadex_flexible_list) == 16, "shadex_flexible_list size");
SHADEX_STATIC_ASSERT(offsetof(shadex_flexible_list, count) == 0, "count offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_flexible_list, entries) == 8, "entries offset");

SHADEX_STATIC_ASSERT(sizeof(shadex_api_version) == 8, "shadex_api_version size");
SHADEX_STATIC_ASSERT(offsetof(shadex_api_version, major) == 0, "major offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_api_version, minor) == 4, "minor offset");

SHADEX_STATIC_ASSERT(sizeof(shadex_hardware_core) == 16, "shadex_hardware_core size");
SHADEX_STATIC_ASSERT(offsetof(shadex_hardware_core, core) == 0, "core offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_hardware_core, revision) == 8, "revision offset");

SHADEX_STATIC_ASSERT(sizeof(shadex_capabilities) == 40, "shadex_capabilities size");
SHADEX_STATIC_ASSERT(offsetof(shadex_capabilities, core_count) == 0, "core_count offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_capabilities, cores) == 8, "cores offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_capabilities, reserved_) == 16, "reserved offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_capabilities, metadata) == 24, "metadata offset");

SHADEX_STATIC_ASSERT(sizeof(shadex_core_specific_capabilities) == 16, "shadex_core_specific_capabilities size");
SHADEX_STATIC_ASSERT(offsetof(shadex_core_specific_capabilities, capabilities) == 0, "capabilities offset");

SHADEX_STATIC_ASSERT(sizeof(shadex_inputs) == 48, "shadex_inputs size");
SHADEX_STATIC_ASSERT(offsetof(shadex_inputs, source) == 0, "source offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_inputs, options) == 8, "options offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_inputs, hardware) == 24, "hardware offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_inputs, reserved_) == 40, "reserved offset");

SHADEX_STATIC_ASSERT(sizeof(shadex_outputs) == 64, "shadex_outputs size");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, variant_count) == 0, "variant_count offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, variants) == 8, "variants offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, reserved_) == 16, "reserved offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, error_count) == 32, "error_count offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, errors) == 40, "errors offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, warning_count) == 48, "warning_count offset");
SHADEX_STATIC_ASSERT(offsetof(shadex_outputs, warnings) == 56, "warnings offset");

#endif /* SHADEX_ABI_H */
