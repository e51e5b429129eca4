/* A library that has nothing to do with settings. */

int unrelated(void);

__attribute__((visibility("default"))) int unrelated(void)
{
    return 0;
}
