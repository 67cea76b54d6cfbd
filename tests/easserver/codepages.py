# SPDX-License-Identifier: LGPL-2.1-or-later
"""The code pages of ActiveSync that mail needs (MS-ASWBXML 2.1.2.1).

Written down apart from the daemon's own table on purpose: a slip in one shows against the other.
"""

# Page: (namespace, first token, tags from that token on; "-" is a token without a tag).
_PAGES = {
    0: ("AirSync", 0x05, """
        Sync Responses Add Change Delete Fetch SyncKey ClientId ServerId Status Collection
        Class Version CollectionId GetChanges MoreAvailable WindowSize Commands Options
        FilterType Truncation RTFTruncation Conflict Collections ApplicationData
        DeletesAsMoves NotifyGUID Supported SoftDelete MIMESupport MIMETruncation Wait Limit
        Partial ConversationMode MaxItems HeartbeatInterval"""),
    2: ("Email", 0x05, """
        Attachment Attachments AttName AttSize Att0Id AttMethod AttRemoved Body BodySize
        BodyTruncated DateReceived DisplayName DisplayTo Importance MessageClass Subject
        Read To Cc From Reply-To AllDayEvent Categories Category DTStamp EndTime
        InstanceType BusyStatus Location MeetingRequest Organizer RecurrenceId Reminder
        ResponseRequested Recurrences Recurrence Type Until Occurrences Interval DayOfWeek
        DayOfMonth WeekOfMonth MonthOfYear StartTime Sensitivity TimeZone GlobalObjId
        ThreadTopic MIMEData MIMETruncated MIMESize InternetCPID Flag Status ContentClass
        FlagType CompleteTime DisallowNewTimeProposal"""),
    5: ("Move", 0x05, """
        MoveItems Move SrcMsgId SrcFldId DstFldId Response Status DstMsgId"""),
    6: ("GetItemEstimate", 0x05, """
        GetItemEstimate Version Collections Collection Class CollectionId DateTime Estimate
        Response Status"""),
    7: ("FolderHierarchy", 0x05, """
        Folders Folder DisplayName ServerId ParentId Type Response Status ContentClass
        Changes Add Delete Update SyncKey FolderCreate FolderDelete FolderUpdate FolderSync
        Count Version"""),
    8: ("MeetingResponse", 0x05, """
        CalendarId CollectionId MeetingResponse RequestId Request Result Status UserResponse - InstanceId"""),
    9: ("Tasks", 0x0B, """
        DateCompleted DueDate UtcDueDate - - - - - - - - - - - - - ReminderSet ReminderTime -
        StartDate UtcStartDate Subject - OrdinalDate SubOrdinalDate"""),
    10: ("ResolveRecipients", 0x05, """
        ResolveRecipients Response Status Type Recipient DisplayName EmailAddress
        Certificates Certificate MiniCertificate Options To CertificateRetrieval
        RecipientCount MaxCertificates MaxAmbiguousRecipients CertificateCount Availability
        StartTime EndTime MergedFreeBusy Picture MaxSize Data MaxPictures"""),
    13: ("Ping", 0x05, """
        Ping AutdState Status HeartbeatInterval Folders Folder Id Class MaxFolders"""),
    14: ("Provision", 0x05, """
        Provision Policies Policy PolicyType PolicyKey Data Status RemoteWipe
        EASProvisionDoc DevicePasswordEnabled AlphanumericDevicePasswordRequired
        RequireStorageCardEncryption PasswordRecoveryEnabled - AttachmentsEnabled
        MinDevicePasswordLength MaxInactivityTimeDeviceLock MaxDevicePasswordFailedAttempts
        MaxAttachmentSize AllowSimpleDevicePassword DevicePasswordExpiration
        DevicePasswordHistory AllowStorageCard AllowCamera RequireDeviceEncryption
        AllowUnsignedApplications AllowUnsignedInstallationPackages
        MinDevicePasswordComplexCharacters AllowWiFi AllowTextMessaging AllowPOPIMAPEmail
        AllowBluetooth AllowIrDA RequireManualSyncWhenRoaming AllowDesktopSync
        MaxCalendarAgeFilter AllowHTMLEmail MaxEmailAgeFilter MaxEmailBodyTruncationSize
        MaxEmailHTMLBodyTruncationSize RequireSignedSMIMEMessages
        RequireEncryptedSMIMEMessages RequireSignedSMIMEAlgorithm
        RequireEncryptionSMIMEAlgorithm AllowSMIMEEncryptionAlgorithmNegotiation
        AllowSMIMESoftCerts AllowBrowser AllowConsumerEmail AllowRemoteDesktop
        AllowInternetSharing UnapprovedInROMApplicationList ApplicationName
        ApprovedApplicationList Hash"""),
    15: ("Search", 0x05, """
        Search Stores Store Name Query Options Range Status Response Result Properties Total
        EqualTo Value And Or FreeText - DeepTraversal LongId RebuildResults LessThan
        GreaterThan Schema Supported UserName Password ConversationId Picture MaxSize
        MaxPictures"""),
    16: ("GAL", 0x05, """
        DisplayName Phone Office Title Company Alias FirstName LastName HomePhone
        MobilePhone EmailAddress Picture Status Data"""),
    17: ("AirSyncBase", 0x05, """
        BodyPreference Type TruncationSize AllOrNone - Body Data EstimatedDataSize Truncated
        Attachments Attachment DisplayName FileReference Method ContentId ContentLocation
        IsInline NativeBodyType ContentType Preview BodyPartPreference BodyPart Status"""),
    18: ("Settings", 0x05, """
        Settings Status Get Set Oof OofState StartTime EndTime OofMessage AppliesToInternal
        AppliesToExternalKnown AppliesToExternalUnknown Enabled ReplyMessage BodyType
        DevicePassword Password DeviceInformation Model IMEI FriendlyName OS OSLanguage
        PhoneNumber UserInformation EmailAddresses SmtpAddress UserAgent EnableOutboundSMS
        MobileOperator PrimarySmtpAddress Accounts Account AccountId AccountName
        UserDisplayName SendDisabled - RightsManagementInformation"""),
    19: ("DocumentLibrary", 0x05, "LinkId"),
    20: ("ItemOperations", 0x05, """
        ItemOperations Fetch Store Options Range Total Properties Data Status Response
        Version Schema Part EmptyFolderContents DeleteSubFolders UserName Password Move
        DstFldId ConversationId MoveAlways"""),
    21: ("ComposeMail", 0x05, """
        SendMail SmartForward SmartReply SaveInSentItems ReplaceMime - Source FolderId
        ItemId LongId InstanceId MIME ClientId Status AccountId"""),
    22: ("Email2", 0x05, """
        UmCallerID UmUserNotes UmAttDuration UmAttOrder ConversationId ConversationIndex
        LastVerbExecuted LastVerbExecutionTime ReceivedAsBcc Sender CalendarType IsLeapMonth
        AccountId FirstDayOfWeek MeetingMessageType"""),
}

# The same of 16.0 and 16.1, which not every codec knows.
_NEWER_PAGES = {
    8: ("MeetingResponse", 0x10, "ProposedStartTime ProposedEndTime SendResponse"),
    14: ("Provision", 0x3B, "AccountOnlyRemoteWipe"),
    17: ("AirSyncBase", 0x1C, """
        Add Delete ClientId Content Location Annotation Street City State Country PostalCode
        Latitude Longitude Accuracy Altitude AltitudeAccuracy LocationUri InstanceId"""),
    21: ("ComposeMail", 0x15, "Forwardees Forwardee Name Email"),
    22: ("Email2", 0x15, "IsDraft Bcc Send"),
    25: ("Find", 0x05, """
        Find SearchId ExecuteSearch MailBoxSearchCriterion Query Status FreeText Options Range
        DeepTraversal - - Response Result Properties Preview HasAttachments Total DisplayCc
        DisplayBcc GalSearchCriterion - - - - - - MaxPictures MaxSize Picture"""),
}

# (page, token) to "Namespace:Tag", and back; the tags of 16.0 and 16.1 among them.
NAMES = {}
TOKENS = {}
NEWER = set()
for _pages in (_PAGES, _NEWER_PAGES):
    for _page, (_namespace, _first, _tags) in _pages.items():
        for _token, _tag in enumerate(_tags.split(), _first):
            if _tag != "-":
                NAMES[_page, _token] = f"{_namespace}:{_tag}"
                TOKENS[f"{_namespace}:{_tag}"] = (_page, _token)
                if _pages is _NEWER_PAGES:
                    NEWER.add(f"{_namespace}:{_tag}")
