#include "tracking/TrackingEnvelope.h"

#include <QStringBuilder>

namespace kopertal {

QByteArray trackingEnvelope(const TrackingAccess& access, QStringView number) {
    const QString beforeNumber =
        QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8"?>
<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/"
                  xmlns:sled="%1">
  <soapenv:Header>
    <wsse:Security xmlns:wsse="http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd"
                   soapenv:mustUnderstand="1">
      <wsse:UsernameToken>
        <wsse:Username>%2</wsse:Username>
        <wsse:Password Type="http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordText">%3</wsse:Password>
      </wsse:UsernameToken>
    </wsse:Security>
  </soapenv:Header>
  <soapenv:Body>
    <sled:sprawdzPrzesylkePl>
      <sled:numer>)")
            .arg(access.serviceNamespace.toHtmlEscaped(), access.user.toHtmlEscaped(),
                 access.password.toHtmlEscaped());
    const QStringView afterNumber = u"</sled:numer>\n"
                                    u"    </sled:sprawdzPrzesylkePl>\n"
                                    u"  </soapenv:Body>\n"
                                    u"</soapenv:Envelope>";
    return QString(beforeNumber % number % afterNumber).toUtf8();
}

} // namespace kopertal
