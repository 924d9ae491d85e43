// A library that loads and has no entry of Simple MAPI: what it exports is found under no such name.
extern "C" int recordingProviderWithoutEntries()
{
    return 0;
}
