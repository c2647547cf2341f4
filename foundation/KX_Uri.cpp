#include "foundation/KX_Uri.h"

#include <cstring>

namespace {

// A scheme: a letter, then letters, digits, plus signs, minus signs and full stops.
constexpr const char* kSchemePattern = "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}";
constexpr const char* kPortPattern = "[0-9]{0-9}";

int firstIndex(const KX_String& text, char c) {
  const char* found = std::strchr(text.getText(), c);
  return found != nullptr ? static_cast<int>(found - text.getText()) : -1;
}

int lastIndex(const KX_String& text, char c) {
  const char* found = std::strrchr(text.getText(), c);
  return found != nullptr ? static_cast<int>(found - text.getText()) : -1;
}

KX_String tail(const KX_String& text, int start) {
  return text.substring(start, text.getLength() - start);
}

bool endsWith(const KX_String& text, char c) {
  return text.getLength() > 0 && text.getText()[text.getLength() - 1] == c;
}

void dropLast(KX_String& text) {
  text.resize(text.getLength() - 1);
}

void add(KX_String& text, const char* more) {
  text = text.concat(more);
}

// Cuts the text behind the last `mark` off into `part`, the mark with it.
void cutBehindLast(KX_String& text, char mark, KX_String& part) {
  const int at = lastIndex(text, mark);
  if (at < 0) return;
  part = tail(text, at + 1);
  text.resize(at);
}

// A closing part (query, fragment) with its mark, unless the text is empty,
// already ends in the mark or the part starts with it.
void addMarked(KX_String& text, char mark, const KX_String& part) {
  if (part.getLength() == 0) return;
  if (text.getLength() > 0 && !endsWith(text, mark) && part.getText()[0] != mark) {
    const char markText[] = {mark, 0};
    add(text, markText);
  }
  add(text, part.getText());
}

}  // namespace

int parseUri(const char* text, KX_String& scheme, KX_String& user, KX_String& password, KX_String& host, int& port,
             KX_String& path, KX_String& query, KX_String& fragment) {
  scheme.clear();
  user.clear();
  password.clear();
  host.clear();
  port = 0;
  path.clear();
  query.clear();
  fragment.clear();

  KX_String rest(text);
  cutBehindLast(rest, '#', fragment);
  cutBehindLast(rest, '?', query);
  rest = rest.replaceChar('\\', '/');

  // A scheme is only known to be one when two slashes follow its colon;
  // until then it is a candidate.
  KX_String candidate;
  bool hasCandidate = false;
  const int colon = firstIndex(rest, ':');
  if (colon >= 0) {
    KX_String before = rest.substring(0, colon);
    if (before.matches(kSchemePattern)) {
      candidate = before;
      hasCandidate = true;
      rest.removeRange(0, colon + 1);
    }
  }

  if (rest.getLength() >= 3 && rest.getText()[0] == '/' && rest.getText()[1] == '/') {
    rest.removeRange(0, 2);
    if (hasCandidate) scheme = candidate;
    hasCandidate = false;

    KX_String authority;
    const int slash = firstIndex(rest, '/');
    if (slash >= 0) {
      authority = rest.substring(0, slash);
      rest.removeRange(0, slash);
    } else {
      authority = rest;
      rest.clear();
    }

    KX_String hostPart = authority;
    const int at = firstIndex(authority, '@');
    if (at >= 0) {
      hostPart = tail(authority, at + 1);
      const KX_String userInformation = authority.substring(0, at);
      const int passwordColon = firstIndex(userInformation, ':');
      if (passwordColon >= 0) {
        password = tail(userInformation, passwordColon + 1);
        user = userInformation.substring(0, passwordColon);
      } else {
        user = userInformation;
      }
    }

    const int portColon = firstIndex(hostPart, ':');
    if (portColon >= 0) {
      const KX_String portText = tail(hostPart, portColon + 1);
      if (!portText.matches(kPortPattern)) return 1;
      port = portText.toInt(false);
      host = hostPart.substring(0, portColon);
    } else {
      host = hostPart;
    }
  }

  path = hasCandidate ? candidate.concat(":").concat(rest) : rest;
  return 0;
}

KX_String composeUri(const KX_String& scheme, const KX_String& user, const KX_String& password, const KX_String& host,
                     int port, const KX_String& path, const KX_String& query, const KX_String& fragment) {
  KX_String text;
  if (scheme.getLength() > 0) {
    add(text, scheme.getText());
    if (!endsWith(text, ':')) add(text, ":");
  }
  if (host.getLength() > 0) {
    add(text, "//");
    if (user.getLength() > 0) {
      add(text, user.getText());
      if (password.getLength() > 0) {
        if (endsWith(text, '@')) dropLast(text);
        if (!endsWith(text, ':')) add(text, ":");
        add(text, password.getText());
      }
      if (!endsWith(text, '@')) add(text, "@");
    }
    add(text, host.getText());
    if (endsWith(text, '/')) dropLast(text);
    if (port > 0) {
      if (!endsWith(text, ':')) add(text, ":");
      KX_String number;
      number.format("%i", port);
      add(text, number.getText());
    }
    if (!endsWith(text, '/') && path.getLength() > 0 && path.getText()[0] != '/') add(text, "/");
  }
  add(text, path.getText());
  addMarked(text, '?', query);
  addMarked(text, '#', fragment);
  return text;
}
