#include "s3features.h"

s3ExperimentalFeatures *s3ExperimentalFeaturesInstance()
{
    return s3ExperimentalFeatures::singletonInstance();
}

s3DisabledFeatures *s3DisabledFeaturesInstance()
{
    return s3DisabledFeatures::singletonInstance();
}
