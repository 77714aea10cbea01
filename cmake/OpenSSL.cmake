# Finds OpenSSL for its SHA-256, the one part of it that is used. The static library is taken where it
# links by itself: loading the whole shared one takes a millisecond of each start. Debian 13's wants
# compression libraries besides; the shared one is taken there.
include(CheckCXXSourceCompiles)
find_library(VORNAK_STATIC_LIBCRYPTO NAMES libcrypto.a)
mark_as_advanced(VORNAK_STATIC_LIBCRYPTO)
if(VORNAK_STATIC_LIBCRYPTO)
    set(CMAKE_REQUIRED_LIBRARIES ${VORNAK_STATIC_LIBCRYPTO} ${CMAKE_DL_LIBS})
    # A call that brings in what the whole library is made of, as a program's own calls do.
    check_cxx_source_compiles("
        #include <openssl/evp.h>
        int main() { return EVP_MD_fetch(nullptr, \"SHA256\", nullptr) == nullptr; }"
        VORNAK_STATIC_LIBCRYPTO_LINKS)
    unset(CMAKE_REQUIRED_LIBRARIES)
endif()
set(OPENSSL_USE_STATIC_LIBS ${VORNAK_STATIC_LIBCRYPTO_LINKS})
find_package(OpenSSL 3.0 QUIET)
if(NOT OpenSSL_FOUND)
    message(STATUS "SHA-256: Qt's, slower; OpenSSL 3 was not found (Debian: libssl-dev)")
elseif(OPENSSL_USE_STATIC_LIBS)
    message(STATUS "SHA-256: OpenSSL ${OPENSSL_VERSION}, static")
else()
    message(STATUS "SHA-256: OpenSSL ${OPENSSL_VERSION}, shared")
endif()
