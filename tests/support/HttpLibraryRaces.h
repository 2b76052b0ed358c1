// For one source of a program that uses the HTTP library, which was not built with the thread sanitizer.
#pragma once

#ifdef __SANITIZE_THREAD__
// The thread sanitizer does not see the atomic counters inside the HTTP library, and takes each release of what that
// library shares between its threads and ours for a race.
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions()
{
    return "race:libcpprest.so\n"
           "race:web::http::details::_http_\n"
           "race:pplx::details::_Task_impl\n"
           "race:std::__exception_ptr::exception_ptr::_M_release\n";
}
#endif
