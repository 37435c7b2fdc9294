#include <QImage>
#include <QPixmap>
#include <cstdlib>
#include <set>

#include "tests/Sync/Host/Qt/WindowFixture.h"

namespace kt::test {
namespace {

/// The pictures of the manual; docs/images/make-pictures.sh says where they go, and without it they
/// are only looked at.
class WindowPicture : public WindowFixture {
protected:
    WindowPicture()
    {
        home.folder().remove("Library/Calendars");
        writeCalendar("1", "Arbeit", "#0252D4", "Local");
        writeCalendar("2", "Privat", "#2CA10B", "Local");
        writeCalendar("3", "Geburtstage", "#B90E28", "Birthday");
        writeCalendar("4", "Schule", "#E6A800", "Local");
        writeCalendar("5", "Verein", "#7A3DB8", "Local");
        home.addEvent("1", "a.ics", {.title = "Besprechung"});
        home.addEvent("2", "b.ics", {.title = "Zahnarzt"});
        home.addEvent("3", "c.ics", {.title = "Oma"});
        home.addEvent("4", "d.ics", {.title = "Elternabend"});
        home.addEvent("5", "e.ics", {.title = "Sommerfest"});
    }

    /// More than a few colours: something was drawn.
    void take(const std::string& name)
    {
        settle();
        const QPixmap picture = window->grab();
        EXPECT_EQ(picture.size(), window->size() * window->devicePixelRatioF());
        const QImage image = picture.toImage().convertToFormat(QImage::Format_RGB32);
        std::set<QRgb> colors;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                colors.insert(image.pixel(x, y));
        EXPECT_GT(colors.size(), 50u);
        const char* folder = std::getenv("KT_PICTURES");
        if (folder == nullptr)
            return;
        const std::string density = window->devicePixelRatioF() > 1 ? "@2x.png" : ".png";
        EXPECT_TRUE(picture.save(QString::fromStdString(folder + ("/" + name) + density)));
    }
    /// The home's real folder has no place in a manual.
    void showOtherHome()
    {
        for (auto* label : window->findChildren<QLabel*>())
            if (label->text().toStdString() == place.home)
                label->setText(QStringLiteral("/home/anna"));
    }
};

TEST_F(WindowPicture, OfTheWindowAsItOpens)
{
    open();
    showOtherHome();
    take("settings");
}

TEST_F(WindowPicture, OfACalendarThatIsPublished)
{
    open();
    showOtherHome();
    select(0);
    click("activatePublicSharingButton");
    take("settings-published");
}

TEST_F(WindowPicture, OfASyncThatHasEnded)
{
    open();
    showOtherHome();
    tick(4);
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    select(1);
    take("settings-synced");
}

}  // namespace
}  // namespace kt::test
