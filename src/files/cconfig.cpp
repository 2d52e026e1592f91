#include "cconfig.h"

cConfig::cConfig()
{
    mZULCurrentFile = new QString(QLatin1String(""));
    mZULIPString = new QString(QLatin1String(""));
    mZULPortString = new QString(QLatin1String(""));
    mZULConnectionFile = new QString(QLatin1String(""));
}

cConfig::~cConfig()
{
    delete mZULConnectionFile;
    delete mZULPortString;
    delete mZULIPString;
    delete mZULCurrentFile;
}

const char* cConfig::getZULIPChar()
{
    mZULIPBytes = mZULIPString->toLocal8Bit();
    return mZULIPBytes.constData();
}

const char* cConfig::getZULPortChar()
{
    mZULPortBytes = mZULPortString->toLocal8Bit();
    return mZULPortBytes.constData();
}
