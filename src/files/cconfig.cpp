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

void cConfig::setZULIP(const QString& address) { *mZULIPString = address; }
void cConfig::setZULPort(const QString& port) { *mZULPortString = port; }
void cConfig::setZULCurrentFile(const QString& path) { *mZULCurrentFile = path; }
void cConfig::setZULConnectionFile(const QString& path) { *mZULConnectionFile = path; }

QString cConfig::getZULIP() const { return *mZULIPString; }
QString cConfig::getZULPort() const { return *mZULPortString; }
QString cConfig::getZULCurrentFile() const { return *mZULCurrentFile; }
QString cConfig::getZULConnectionFile() const { return *mZULConnectionFile; }

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
