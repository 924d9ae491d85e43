#pragma once

#include "s3singleton.h"

#include <QSet>
#include <QString>

// A set of feature names. Names are compared exactly, with case.
//
// Filled before the work starts and read-only afterwards: no lock guards it.
class s3Features
{
public:
    // Whether the feature `name` is in the set. With an empty set, the usual case, nothing is hashed.
    [[nodiscard]] bool contains(const QString &name) const { return !m_features.isEmpty() && lookUp(name); }
    [[nodiscard]] bool isEmpty() const { return m_features.isEmpty(); }

    void insert(const QString &name) { m_features.insert(name); }
    void remove(const QString &name) { m_features.remove(name); }
    void clear() { m_features.clear(); }

private:
    // Not inline, so that a test stays one load and one compare at its site.
    Q_NEVER_INLINE bool lookUp(const QString &name) const { return m_features.contains(name); }

    QSet<QString> m_features;
};

// Experimental features that are switched on: "forceFallbackDictionary",
// "preferLocalFilesIfIsLocalInstall".
class s3ExperimentalFeatures final : public s3Features, public s3Singleton<s3ExperimentalFeatures>
{
};

// Normal features that are switched off: "useFallbackDictionary".
class s3DisabledFeatures final : public s3Features, public s3Singleton<s3DisabledFeatures>
{
};

// The process-wide sets, both empty in an ordinary run. Never null.
[[nodiscard]] inline s3ExperimentalFeatures *s3ExperimentalFeaturesInstance()
{
    return s3ExperimentalFeatures::singletonInstance();
}
[[nodiscard]] inline s3DisabledFeatures *s3DisabledFeaturesInstance()
{
    return s3DisabledFeatures::singletonInstance();
}
