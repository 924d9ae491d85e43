#pragma once

// Base of the process-wide objects that are reached by an accessor (`s3TestFlagsInstance()`,
// `s3SessionInstance()`, ...). T derives from s3Singleton<T>.
//
// The object is made on the heap at the first call and stays until the process ends: the crash path
// may still ask it when static objects are gone. The creation takes no lock, so the first use of each
// type belongs to the start of the program, before there are workers.
template <class T> class s3Singleton
{
public:
    virtual ~s3Singleton() = default;

    // The one object of T, never null, owned by the process.
    [[nodiscard]] static T *singletonInstance()
    {
        static constinit T *object = nullptr;
        if (object == nullptr) [[unlikely]]
            object = new T;
        return object;
    }

protected:
    s3Singleton() = default;
    s3Singleton(const s3Singleton &) = default;
    s3Singleton &operator=(const s3Singleton &) = default;
};
