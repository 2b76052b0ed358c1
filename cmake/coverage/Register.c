/* Part of every program and library that counts which of its lines run: each of them writes its own counts. */
#include <gcov.h>

void coverage_register(void (*write_counts)(void));

__attribute__((constructor)) static void Register(void)
{
    coverage_register(__gcov_dump);
}
