// How the library's hot thread-locals are declared. Internal to the library.
#pragma once

// A thread-local in a shared library is normally reached through a call to
// __tls_get_addr. The initial-exec model makes it one load at a fixed
// offset from the thread pointer. Its bytes come from the static TLS block,
// where the loader keeps spare room even for a library opened with dlopen;
// use it only for the few small variables read per value or per object.
#if defined(__GNUC__)
#define VXXML_TLS_INITIAL_EXEC __attribute__((tls_model("initial-exec")))
#else
#define VXXML_TLS_INITIAL_EXEC
#endif
