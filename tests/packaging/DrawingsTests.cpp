#include <gmock/gmock.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgRenderer>
#include <QXmlStreamReader>

namespace {

const QString symbols = QStringLiteral(VARNOLET_SYMBOLS "/symbols/");

QString textOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList drawings() {
  QStringList paths;
  for (const auto* folder : {VARNOLET_SYMBOLS "/symbols", VARNOLET_ICONS}) {
    QDirIterator files(QString::fromUtf8(folder), {QStringLiteral("*.svg")}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) paths << files.next();
  }
  return paths;
}

QImage drawn(const QString& path, int side) {
  QImage image(side, side, QImage::Format_ARGB32);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  QSvgRenderer(path).render(&painter);
  return image;
}

// The share of the picture that is covered.
double coverage(const QImage& image) {
  qint64 sum = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) sum += qAlpha(image.pixel(x, y));
  }
  return static_cast<double>(sum) / (255.0 * image.width() * image.height());
}

// At the very edge a drawing would be cut off.
int strongestAtEdge(const QImage& image) {
  const int last = image.width() - 1;
  int strongest = 0;
  for (int i = 0; i <= last; ++i) {
    for (const QRgb pixel : {image.pixel(i, 0), image.pixel(i, last), image.pixel(0, i), image.pixel(last, i)}) {
      strongest = std::max(strongest, qAlpha(pixel));
    }
  }
  return strongest;
}

TEST(DrawingsTests, AllAreWellFormedAndDrawSomethingThatIsNotCutOff) {
  const QStringList paths = drawings();
  ASSERT_FALSE(paths.isEmpty());
  for (const QString& path : paths) {
    SCOPED_TRACE(path.toStdString());
    QXmlStreamReader xml(textOf(path));
    while (!xml.atEnd()) xml.readNext();
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    ASSERT_TRUE(QSvgRenderer(path).isValid());

    for (const int side : {16, 22, 256}) {
      EXPECT_THAT(coverage(drawn(path, side)), testing::AllOf(testing::Gt(0.1), testing::Lt(0.8))) << side;
    }
    EXPECT_EQ(strongestAtEdge(drawn(path, 256)), 0);
  }
}

// A symbol takes any colour, and an icon theme recolours a symbolic icon, only where nothing but its shape counts.
TEST(DrawingsTests, SymbolsHaveOneColorAndSymbolicIconsOnlyFills) {
  for (const QFileInfo& file : QDir(symbols).entryInfoList(QDir::Files)) {
    const QImage image = drawn(file.filePath(), 48);
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        ASSERT_EQ(image.pixel(x, y) & 0xFFFFFF, 0U) << file.fileName().toStdString();
      }
    }
  }
  const QString symbolic = textOf(QStringLiteral(VARNOLET_ICONS "/symbolic/apps/app.varnolet.Varnolet-symbolic.svg"));
  EXPECT_FALSE(symbolic.isEmpty());
  EXPECT_FALSE(symbolic.contains(QLatin1String("stroke")));
}

TEST(DrawingsTests, TheResourcesNameEverySymbolByItsFile) {
  const QString resources = textOf(QStringLiteral(VARNOLET_SYMBOLS "/symbols.qrc"));
  const QRegularExpression entry(QStringLiteral("<file alias=\"([^\"]+)\">symbols/([^<]+)</file>"));
  QStringList named;
  for (auto matches = entry.globalMatch(resources); matches.hasNext();) {
    const auto match = matches.next();
    EXPECT_EQ(match.captured(1), match.captured(2));
    named << match.captured(2);
  }
  named.sort();
  QStringList present = QDir(symbols).entryList(QDir::Files);
  present.sort();
  EXPECT_EQ(named, present);
}

}  // namespace
