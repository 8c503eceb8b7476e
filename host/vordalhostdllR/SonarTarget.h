// A sonar contact (marked target) as the host's target store keeps it, and the notification of its change.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <VordalSubscriberR/NotificationInfo.h>

#include <cstdint>

/// The part of a contact that is asked for by getters. A value. The setters are for the host.
class VORDAL_API SonarTargetData
{
public:
    /// Whether the contact's latitude and longitude mean anything.
    bool IsLatitudeLongitudeValid() const { return m_latitudeLongitudeValid; }
    /// Full name of the GeoTIFF image to send; empty when there is none. It may be gone from disk.
    CString const& GetTempSonarContactGeoTiff() const { return m_temporaryGeoTiff; }
    /// Full name of the GeoTIFF image file that is removed once the image was sent; empty when there is none.
    CString const& GetGeoTIFF() const { return m_geoTiff; }
    /// The bearing in degrees, as the store works it out.
    float GetBearingInDeg() const { return m_bearingDegrees; }

    /// See IsLatitudeLongitudeValid.
    void SetLatitudeLongitudeValid(bool valid) { m_latitudeLongitudeValid = valid; }
    /// See GetTempSonarContactGeoTiff.
    void SetTempSonarContactGeoTiff(CString const& fileName) { m_temporaryGeoTiff = fileName; }
    /// See GetGeoTIFF.
    void SetGeoTIFF(CString const& fileName) { m_geoTiff = fileName; }
    /// See GetBearingInDeg.
    void SetBearingInDeg(float degrees) { m_bearingDegrees = degrees; }

private:
    bool m_latitudeLongitudeValid = false;
    float m_bearingDegrees = 0.0F;
    CString m_temporaryGeoTiff;
    CString m_geoTiff;
};

/// One contact. A value; numbers may be NaN or infinite, texts of any length. Fields without a unit are passed through
/// to the sonar system unchanged.
class VORDAL_API SonarTarget : public SonarTargetData
{
public:
    /// Of the ping that it was seen in.
    std::uint32_t pingNumber = 0;
    double contactTime = 0.0; ///< host time, seconds
    /// Passed through.
    std::uint32_t detailNumberA = 0;
    /// Passed through.
    bool detailFlag = false;
    /// Passed through.
    std::uint32_t detailNumberC = 0;
    /// Passed through.
    float detailValue = 0.0F;
    double latitude = 0.0;  ///< degrees; see IsLatitudeLongitudeValid
    double longitude = 0.0; ///< degrees
    /// Passed through.
    float range = 0.0F;
    float bearing = 0.0F; ///< degrees
    float azimuth = 0.0F; ///< degrees; NaN is possible
    /// Passed through.
    float contactLength = 0.0F;
    /// Passed through.
    float contactWidth = 0.0F;
    /// Passed through.
    float contactHeight = 0.0F;
    /// The operator's words.
    CString description;
    /// What the operator takes it for.
    CString classification;
    /// Passed through.
    float extensionValue = 0.0F;
    float extensionAngle = 0.0F; ///< degrees
    /// Passed through.
    float extensionMeasure = 0.0F;
    /// Whether extensionMeasure means anything.
    bool extensionMeasureValid = false;
    /// Passed through.
    std::uint32_t detailNumberB = 0;
    std::uint32_t targetId = 0; ///< within its file
    CString targetGuid;         ///< across applications; not always unique
};

/// What GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE carries. The sender owns it; valid during the call only.
class VORDAL_API SONAR_TARGET_SEL_INFO : public NotificationInfo
{
public:
    /// Codes that plug-ins know; others occur and mean nothing to them.
    enum ChangeCode : std::uint32_t
    {
        Created = 1,           ///< it is new
        Changed = 2,           ///< its values changed
        Deleted = 3,           ///< it is gone
        ImageMade = 9,         ///< the contact's image is there; the contact itself is unchanged
        ChangedWithImage = 10, ///< the contact and its image are to go out, image output enabled or not
    };

    SONAR_TARGET_SEL_INFO() = default;
    /// Of these; the time is host time in seconds.
    SONAR_TARGET_SEL_INFO(std::uint32_t target, std::uint32_t change, double seconds)
        : targetId(target), changeCode(change), time(seconds)
    {
    }
    SONAR_TARGET_SEL_INFO(SONAR_TARGET_SEL_INFO const&) = default;
    SONAR_TARGET_SEL_INFO& operator=(SONAR_TARGET_SEL_INFO const&) = default;
    ~SONAR_TARGET_SEL_INFO() override;
    std::unique_ptr<NotificationInfo> Clone() const override;

    std::uint32_t targetId = 0;   ///< SonarTarget::targetId; the contact of a Deleted may have left the file
    std::uint32_t changeCode = 0; ///< a ChangeCode or another number
    double time = 0.0;            ///< host time of the change, seconds
};
