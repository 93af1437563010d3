#include "binding/BindingSupport.h"

#include "TestHelpers.h"

#include <cstdio>
#include <cstdlib>
#include <typeinfo>

using namespace VxXmlLib16;

namespace bt {
namespace {

// Reads the items of collections through their protected accessors.
struct TypedItems : CXmlTypeCollection
{
    static std::wstring At(const CXmlTypeCollection& c, int i)
    {
        return (c.*&TypedItems::ItemToString)(i);
    }
};
struct ObjectItems : CXmlCollection
{
    static CXmlObjectBase* At(const CXmlCollection& c, int i)
    {
        return (c.*&ObjectItems::GetItemAt)(i);
    }
};

class CComparer
{
public:
    std::string m_diff;

    void Objects(const CXmlObjectBase* a, const CXmlObjectBase* b, const std::string& path)
    {
        if (!m_diff.empty()) {
            return;
        }
        if (a == nullptr || b == nullptr) {
            Expect(a == b, path, "one object is missing");
            return;
        }
        if (!Expect(typeid(*a) == typeid(*b), path,
                    std::string("class ") + typeid(*a).name() + " vs " + typeid(*b).name())) {
            return;
        }
        const std::string here = path + "/" + Narrow(a->GetElementName());
        if (!Text(a->GetElementName(), b->GetElementName(), here, "element name")) {
            return;
        }
        if (auto* x = dynamic_cast<const CTestObject*>(a)) {
            Generated(*x, dynamic_cast<const CTestObject&>(*b), here);
        } else if (auto* x = dynamic_cast<const CElement*>(a)) {
            const auto& y = dynamic_cast<const CElement&>(*b);
            Text(x->GetNamespace(), y.GetNamespace(), here, "namespace") &&
                Text(x->GetText(), y.GetText(), here, "text");
            Objects(x->GetAttributes().Get(), y.GetAttributes().Get(), here + "@");
            Objects(x->GetChildElements().Get(), y.GetChildElements().Get(), here);
        } else if (auto* x = dynamic_cast<const CAttribute*>(a)) {
            const auto& y = dynamic_cast<const CAttribute&>(*b);
            Text(x->GetNamespace(), y.GetNamespace(), here, "namespace") &&
                Text(x->GetValue(), y.GetValue(), here, "value");
        } else if (auto* x = dynamic_cast<const CXmlTypeCollection*>(a)) {
            const auto& y = dynamic_cast<const CXmlTypeCollection&>(*b);
            if (Count(x->GetCount(), y.GetCount(), here)) {
                for (int i = 0; i < x->GetCount(); ++i) {
                    Text(TypedItems::At(*x, i), TypedItems::At(y, i),
                         here + "[" + std::to_string(i) + "]", "item");
                }
            }
        } else if (auto* x = dynamic_cast<const CXmlCollection*>(a)) {
            const auto& y = dynamic_cast<const CXmlCollection&>(*b);
            if (Count(x->GetCount(), y.GetCount(), here)) {
                for (int i = 0; i < x->GetCount(); ++i) {
                    Objects(ObjectItems::At(*x, i), ObjectItems::At(y, i),
                            here + "[" + std::to_string(i) + "]");
                }
            }
        } else {
            Expect(false, here, "no comparison for this class");
        }
    }

private:
    void Generated(const CTestObject& a, const CTestObject& b, const std::string& path)
    {
        auto* nilA = dynamic_cast<const INillable*>(&a);
        auto* nilB = dynamic_cast<const INillable*>(&b);
        if (nilA && !Expect(nilA->IsNil() == nilB->IsNil(), path, "nil differs")) {
            return;
        }
        if (!Text(a.GetSelected(), b.GetSelected(), path, "selected choice member")) {
            return;
        }
        for (int i = 0; i < a.GetPropertyCount() && m_diff.empty(); ++i) {
            Variants(a.Get(i), b.Get(i), path + "#" + std::to_string(i));
        }
    }

    void Variants(const VxVariant& a, const VxVariant& b, const std::string& path)
    {
        if (!Expect(a.IsNil() == b.IsNil(), path, "nil differs") ||
            !Expect(a.IsValid() == b.IsValid(), path, "set in one tree only") ||
            !Expect(a.GetTypeAsEnum() == b.GetTypeAsEnum(), path,
                    "type " + std::to_string(a.GetTypeAsEnum()) + " vs " +
                        std::to_string(b.GetTypeAsEnum()))) {
            return;
        }
        if (a.IsNil() || !a.IsValid()) {
            return;
        }
        switch (a.GetTypeAsEnum()) {
        case ItemType_XmlObjectBase:
            Objects(a.GetXmlObject().Get(), b.GetXmlObject().Get(), path);
            break;
        case ItemType_XmlCollection:
            Objects(a.GetXmlCollection().Get(), b.GetXmlCollection().Get(), path);
            break;
        default:
            Text(a.ToString(nullptr), b.ToString(nullptr), path, "value");
        }
    }

    bool Count(int a, int b, const std::string& path)
    {
        return Expect(a == b, path, "count " + std::to_string(a) + " vs " + std::to_string(b));
    }

    bool Text(const std::wstring& a, const std::wstring& b, const std::string& path,
              const char* what)
    {
        return Expect(a == b, path,
                      std::string(what) + " [" + Narrow(a) + "] vs [" + Narrow(b) + "]");
    }

    bool Expect(bool ok, const std::string& path, const std::string& what)
    {
        if (!ok && m_diff.empty()) {
            m_diff = path + ": " + what;
        }
        return ok;
    }
};

// ---------------------------------------------------------------------------
// Random values inside the facets of test.xsd

std::wstring Format(const wchar_t* format, int a, int b = 0, int c = 0)
{
    return FormatString(format, a, b, c);
}

// Free text: markup characters, non-ASCII (one beyond the BMP), line feeds
// and tabs, which a reader normalizes in attributes unless the writer
// escapes them. (Carriage returns are left out: the library drops them on
// purpose and makes line ends from the EOL type.)
std::wstring FreeText(CRandom& random, int maxLength)
{
    static const wchar_t kChars[] = L"abcXYZ 09<>&\"'\u00e9\u20ac\U0001F600";
    static const wchar_t kBreaks[] = L"\n\t";
    std::wstring text;
    const int length = random.Int(0, maxLength);
    for (int i = 0; i < length; ++i) {
        if (random.Chance(5)) {
            text += kBreaks[random.Int(0, 1)];
        } else {
            text += kChars[random.Int(0, static_cast<int>(std::size(kChars)) - 2)];
        }
    }
    return text;
}

std::wstring Letters(CRandom& random, int minLength, int maxLength, const wchar_t* alphabet)
{
    std::wstring text;
    const int n = static_cast<int>(std::wcslen(alphabet));
    const int length = random.Int(minLength, maxLength);
    for (int i = 0; i < length; ++i) {
        text += alphabet[random.Int(0, n - 1)];
    }
    return text;
}

std::wstring Decimal(CRandom& random)
{
    const bool negative = random.Chance(30);
    const int whole = random.Int(0, negative ? 99999 : 999999);
    return (negative ? L"-" : L"") + Format(L"%d.%02d", whole, random.Int(0, 99));
}

std::wstring Date(CRandom& random)
{
    return Format(L"%04d-%02d-%02d", random.Int(2000, 2099), random.Int(1, 12), random.Int(1, 28));
}

std::wstring Double(CRandom& random)
{
    static const wchar_t* const kSpecial[] = {L"1.5E10", L"-2.25E-5", L"0", L"1234567.875"};
    if (random.Chance(20)) {
        return random.Pick(kSpecial);
    }
    return Format(L"%d.%03d", random.Int(-1000, 1000), random.Int(0, 7) * 125);
}

// hexBinary of 1 to 8 bytes.
std::wstring Bytes(CRandom& random)
{
    const int count = random.Int(1, 8);
    return Letters(random, 2 * count, 2 * count, L"0123456789ABCDEF");
}

std::wstring Zip(CRandom& random)
{
    return Letters(random, 5, 5, L"0123456789");
}

CSmartPtr<CAddress> RandomAddress(CRandom& random, const wchar_t* name, bool nillable = false)
{
    CSmartPtr<CAddress> address(nillable ? new CNillableAddress(name) : new CAddress(name));
    address->Set(CAddress::Zip, Value(ItemType_string, Zip(random)));
    if (random.Chance(50)) {
        address->Set(CAddress::Country, Value(ItemType_string, random.Chance(30) ? L"US" : L"DE"));
    }
    if (nillable && random.Chance(40)) {
        // A nil address keeps its attributes but has no content.
        dynamic_cast<CNillableAddress&>(*address).SetNil(true);
        return address;
    }
    VxVariant street;
    street.SetString(FreeText(random, 15));
    address->Set(CAddress::Street, street);
    VxVariant city;
    city.SetString(FreeText(random, 10));
    address->Set(CAddress::City, city);
    return address;
}

CSmartPtr<CShape> RandomShape(CRandom& random, const wchar_t* name)
{
    CSmartPtr<CShape> shape;
    if (random.Chance(50)) {
        shape = new CCircle(name ? name : L"circle");
        shape->Set(CShape::Size, Value(ItemType_r8, Double(random)));
    } else {
        shape = new CSquare(name ? name : L"square");
        shape->Set(CShape::Size, Value(ItemType_i4, std::to_wstring(random.Int(1, 500))));
    }
    if (random.Chance(50)) {
        VxVariant label;
        label.SetString(FreeText(random, 8));
        shape->Set(CShape::Label, label);
    }
    return shape;
}

const wchar_t* RandomNamespace(CRandom& random)
{
    static const wchar_t* const kAll[] = {kNs, kOtherNs, L"", kListNsA};
    return random.Pick(kAll);
}

CSmartPtr<CWild> RandomWild(CRandom& random, const wchar_t* name, CWild::Kind kind)
{
    CSmartPtr<CWild> wild(new CWild(name, kind));
    const wchar_t* rule = CWild::ConstraintOf(kind);
    static const wchar_t* const kNames[] = {L"x", L"y", L"item"};
    switch (kind) {
    case CWild::Any:
    case CWild::List: {
        auto& items = wild->Collection<CElementCol>(0);
        const int count = kind == CWild::Any ? random.Int(0, 3) : random.Int(1, 3);
        for (int i = 0; i < count; ++i) {
            const wchar_t* ns = kind == CWild::Any ? RandomNamespace(random)
                                                   : (random.Chance(50) ? kListNsA : kListNsB);
            items.Add(RandomElement(random, random.Pick(kNames), ns, rule, 1));
        }
        break;
    }
    case CWild::Local:
        wild->SetObject(0, RandomElement(random, random.Pick(kNames), L"", rule, 1));
        break;
    case CWild::Target:
        if (random.Chance(70)) {
            wild->SetObject(0, RandomElement(random, random.Pick(kNames), kNs, rule, 1));
        }
        break;
    }
    return wild;
}

CSmartPtr<CPick> RandomPick(CRandom& random)
{
    CSmartPtr<CPick> pick(new CPick);
    switch (random.Int(CPick::Num, CPick::Local)) {
    case CPick::Num:
        pick->Set(CPick::Num, Value(ItemType_i4, std::to_wstring(random.Int(-99, 999))));
        break;
    case CPick::Word:
        pick->Set(CPick::Word, Value(ItemType_string, Letters(random, 1, 20, L"abXY ")));
        break;
    case CPick::Flag:
        pick->Set(CPick::Flag, Enum(random.Int(0, 2)));
        break;
    case CPick::Part:
        pick->SetObject(CPick::Part, RandomAddress(random, L"part"));
        break;
    case CPick::Shape:
        pick->SetObject(CPick::Shape, RandomShape(random, nullptr));
        break;
    case CPick::Nums:
        for (int i = random.Int(1, 3); i > 0; --i) {
            pick->Collection<Ci4Col>(CPick::Nums).Add(random.Int(INT32_MIN, INT32_MAX));
        }
        break;
    case CPick::Hue:
        for (int i = random.Int(1, 3); i > 0; --i) {
            pick->Collection<CColorCol>(CPick::Hue).Add(random.Int(0, 2));
        }
        break;
    case CPick::Piece:
        for (int i = random.Int(1, 3); i > 0; --i) {
            pick->Collection<CXmlClassCollection<CAddress>>(CPick::Piece)
                .Add(RandomAddress(random, L"piece"));
        }
        break;
    case CPick::Fig:
        for (int i = random.Int(1, 3); i > 0; --i) {
            pick->Collection<CShapeCol>(CPick::Fig).Add(RandomShape(random, L"fig"));
        }
        break;
    case CPick::Scrap:
        for (int i = random.Int(1, 3); i > 0; --i) {
            pick->Collection<CElementCol>(CPick::Scrap)
                .Add(RandomElement(random, L"scrap", kNs, L"##any", 1));
        }
        break;
    default:
        pick->SetObject(CPick::Local, RandomElement(random, L"loose", L"", L"##local", 1));
    }
    return pick;
}

CSmartPtr<CMeasures> RandomMeasures(CRandom& random)
{
    CSmartPtr<CMeasures> measures(new CMeasures);
    measures->Set(CMeasures::Width, Value(ItemType_r8, Double(random)));
    if (random.Chance(50)) {
        measures->Set(CMeasures::Height, Value(ItemType_i4, std::to_wstring(random.Int(-99, 999))));
    }
    measures->Set(CMeasures::Unit, Enum(random.Int(0, 2)));
    if (random.Chance(50)) {
        measures->Set(CMeasures::Kind, Enum(random.Int(0, 2)));
    }
    measures->SetObject(CMeasures::Corner, RandomAddress(random, L"corner"));
    if (random.Chance(50)) {
        measures->SetObject(CMeasures::Origin, RandomAddress(random, L"origin"));
    }
    measures->SetObject(CMeasures::Plate, RandomShape(random, L"plate"));
    if (random.Chance(50)) {
        measures->SetObject(CMeasures::Form, RandomShape(random, L"form"));
    }
    measures->SetObject(CMeasures::Memo, RandomElement(random, L"memo", kNs, L"##any", 0));
    if (random.Chance(50)) {
        measures->SetObject(CMeasures::Aside, RandomElement(random, L"aside", kNs, L"##any", 1));
    }
    return measures;
}

} // namespace

std::string Diff(const CXmlObjectBase* expected, const CXmlObjectBase* actual)
{
    CComparer comparer;
    comparer.Objects(expected, actual, "");
    return comparer.m_diff;
}

CSmartPtr<CElement> RandomElement(CRandom& random, const wchar_t* name, const wchar_t* namespaceUri,
                                  const wchar_t* restriction, int depth)
{
    CSmartPtr<CElement> element(new CElement(name, namespaceUri, restriction, kNs));
    static const wchar_t* const kAttributes[] = {L"a", L"b", L"c"};
    const int attributes = random.Int(0, 2);
    for (int i = 0; i < attributes; ++i) {
        const wchar_t* ns = random.Chance(30) ? kOtherNs : L"";
        element->GetAttributes()->Add(kAttributes[i], ns, FreeText(random, 6).c_str());
    }
    if (depth < 2 && random.Chance(40)) {
        static const wchar_t* const kNames[] = {L"x", L"y", L"zz"};
        for (int i = random.Int(1, 3); i > 0; --i) {
            element->GetChildElements()->Add(RandomElement(
                random, random.Pick(kNames), RandomNamespace(random), L"##any", depth + 1));
        }
    } else {
        // Text that is not only whitespace: the reader cannot tell such
        // text from indentation.
        element->SetText((Letters(random, 1, 1, L"kq") + FreeText(random, 8)).c_str());
    }
    return element;
}

CSmartPtr<CRoot> RandomRoot(CRandom& random)
{
    CSmartPtr<CRoot> root(new CRoot);
    root->Set(CRoot::Id, Value(ItemType_i4, std::to_wstring(random.Int(INT32_MIN, INT32_MAX))));
    if (random.Chance(50)) {
        VxVariant label;
        label.SetString(random.Chance(30) ? L"none" : FreeText(random, 10));
        root->Set(CRoot::Label, label);
    }
    if (random.Chance(50)) {
        root->Set(CRoot::Color, Enum(random.Int(0, 2)));
    }
    if (random.Chance(50)) {
        root->Set(CRoot::Ratio, Value(ItemType_r8, Format(L"0.%04d", random.Int(0, 16) * 625)));
    }
    for (int i = random.Int(0, 2); i > 0; --i) {
        root->Collection<CAttributeCol>(CRoot::AnyAttribute)
            .Add(i == 1 ? L"p" : L"q", kOtherNs, FreeText(random, 5).c_str());
    }
    root->Set(CRoot::Name, Value(ItemType_string, Letters(random, 1, 20, L"abcXYZ ")));
    if (random.Chance(50)) {
        root->Set(CRoot::Counter, Value(ItemType_i4, std::to_wstring(random.Int(-99, 999))));
    }
    if (random.Chance(85)) {
        root->Set(CRoot::Amount, Value(ItemType_decimal, Decimal(random)));
    }
    if (random.Chance(50)) {
        root->Set(CRoot::When, Value(ItemType_date, Date(random)));
    }
    if (random.Chance(50)) {
        root->Set(CRoot::Stamp, Value(ItemType_datetime,
                                      Date(random) + Format(L"T%02d:%02d:%02d", random.Int(0, 23),
                                                            random.Int(0, 59), random.Int(0, 59))));
    }
    if (random.Chance(50)) {
        root->Set(CRoot::Blob, Value(ItemType_hexBinary, Bytes(random)));
    }
    root->Set(CRoot::Level, Enum(random.Int(0, 2)));
    if (random.Chance(50)) {
        root->Set(CRoot::Mood, Enum(random.Int(0, 2)));
    }
    for (int i = random.Int(0, 5); i > 0; --i) {
        root->Collection<CstringCol>(CRoot::Tag).Add(FreeText(random, 10));
    }
    for (int i = random.Int(0, 4); i > 0; --i) {
        root->Collection<Cr8Col>(CRoot::Score).Add(Value(ItemType_r8, Double(random)).GetR8());
    }
    for (int i = random.Int(0, 3); i > 0; --i) {
        root->Collection<CColorCol>(CRoot::Shade).Add(random.Int(0, 2));
    }
    root->SetObject(CRoot::Address, RandomAddress(random, L"address"));
    if (random.Chance(50)) {
        root->SetObject(CRoot::AltAddress, RandomAddress(random, L"altAddress"));
    }
    for (int i = random.Int(0, 3); i > 0; --i) {
        root->Collection<CXmlClassCollection<CAddress>>(CRoot::Contact)
            .Add(RandomAddress(random, L"contact"));
    }
    root->SetObject(CRoot::Shape, RandomShape(random, nullptr));
    if (random.Chance(50)) {
        root->SetObject(CRoot::Extra, RandomShape(random, L"extra"));
    }
    for (int i = random.Int(0, 3); i > 0; --i) {
        root->Collection<CShapeCol>(CRoot::Figure).Add(RandomShape(random, L"figure"));
    }
    auto& delivery = root->Object<CDelivery>(CRoot::Delivery);
    switch (random.Int(0, 2)) {
    case 0:
        delivery.Set(CDelivery::ShipDate, Value(ItemType_date, Date(random)));
        break;
    case 1:
        delivery.Set(CDelivery::Pickup,
                     Value(ItemType_boolean, random.Chance(50) ? L"true" : L"false"));
        break;
    default:
        delivery.SetObject(CDelivery::Courier, RandomAddress(random, L"courier"));
    }
    if (random.Chance(60)) {
        root->SetObject(CRoot::Holder, RandomAddress(random, L"holder", true));
    }
    if (random.Chance(50)) {
        CSmartPtr<CPrice> price(new CPrice);
        price->Set(CPrice::Currency, Value(ItemType_string, Letters(random, 3, 3, L"EURSDCHF")));
        price->Set(CPrice::Amount, Value(ItemType_decimal, Decimal(random)));
        root->SetObject(CRoot::Price, price);
    }
    if (random.Chance(50)) {
        root->SetObject(CRoot::Measures, RandomMeasures(random));
    }
    for (int i = random.Int(0, 4); i > 0; --i) {
        root->Collection<CXmlClassCollection<CPick>>(CRoot::Pick).Add(RandomPick(random));
    }
    root->SetObject(CRoot::Note, RandomElement(random, L"note", kNs, L"##any", 0));
    const CWild::Kind kinds[] = {CWild::Any, CWild::Local, CWild::Target, CWild::List};
    const int slots[] = {CRoot::WildAny, CRoot::WildLocal, CRoot::WildTarget, CRoot::WildList};
    const wchar_t* names[] = {L"wildAny", L"wildLocal", L"wildTarget", L"wildList"};
    for (int i = 0; i < 4; ++i) {
        if (random.Chance(60)) {
            root->SetObject(slots[i], RandomWild(random, names[i], kinds[i]));
        }
    }
    if (random.Chance(50)) {
        root->SetObject(CRoot::Other, RandomElement(random, L"tail", kOtherNs, L"##other", 0));
    }
    return root;
}

CSmartPtr<CAllExtra> RandomAllExtra(CRandom& random)
{
    CSmartPtr<CAllExtra> extra(new CAllExtra);
    for (int i = random.Int(0, 3); i > 0; --i) {
        extra->Collection<Ci4Col>(CAllExtra::Numbers).Add(random.Int(-5000, 5000));
    }
    for (int i = random.Int(0, 3); i > 0; --i) {
        extra->Collection<CColorCol>(CAllExtra::Colors).Add(random.Int(0, 2));
    }
    for (int i = random.Int(0, 2); i > 0; --i) {
        extra->Collection<CXmlClassCollection<CAddress>>(CAllExtra::Addresses)
            .Add(RandomAddress(random, L"a"));
    }
    for (int i = random.Int(0, 2); i > 0; --i) {
        extra->Collection<CShapeCol>(CAllExtra::Shapes).Add(RandomShape(random, L"f"));
    }
    extra->SetObject(CAllExtra::Local, RandomElement(random, L"loose", L"", L"##local", 1));
    if (random.Chance(50)) {
        extra->SetObject(CAllExtra::Listed,
                         RandomElement(random, L"listed", kListNsA, L"urn:vxxml:test:a", 1));
    }
    for (int i = random.Int(0, 2); i > 0; --i) {
        extra->Collection<CElementCol>(CAllExtra::Others)
            .Add(RandomElement(random, L"o", kOtherNs, L"##other", 1));
    }
    return extra;
}

CSmartPtr<CRoot> SampleRoot()
{
    // A fixed seed whose tree has every optional member: pick the first
    // seed that has them, so the sample stays rich if the generator changes.
    for (unsigned seed = 1;; ++seed) {
        CRandom random(seed);
        CSmartPtr<CRoot> root = RandomRoot(random);
        const int needed[] = {CRoot::Counter, CRoot::When,  CRoot::AltAddress, CRoot::Extra,
                              CRoot::Holder,  CRoot::Price, CRoot::Measures,   CRoot::Other};
        bool all = root->Get(CRoot::Amount).IsValid() && !root->Get(CRoot::Amount).IsNil();
        for (int index : needed) {
            all = all && root->Get(index).IsValid();
        }
        all = all && root->Collection<CXmlClassCollection<CPick>>(CRoot::Pick).GetCount() > 0 &&
              root->Collection<CXmlClassCollection<CAddress>>(CRoot::Contact).GetCount() > 0;
        if (all &&
            !dynamic_cast<CNillableAddress&>(root->Object<CAddress>(CRoot::Holder)).IsNil()) {
            return root;
        }
    }
}

std::string TestSchemaPath()
{
    return VXXML_TEST_DATA_DIR "/binding/test.xsd";
}

bool HaveXmllint()
{
    return std::system("xmllint --version >/dev/null 2>&1") == 0;
}

std::string ValidateWithXmllint(const std::vector<std::string>& files)
{
    std::string report;
    for (size_t first = 0; first < files.size(); first += 100) {
        std::string command = "xmllint --noout --schema '" + TestSchemaPath() + "'";
        for (size_t i = first; i < files.size() && i < first + 100; ++i) {
            command += " '" + files[i] + "'";
        }
        int status = -1;
        const std::string output = Shell(command + " 2>&1", &status);
        if (status != 0) {
            report += output.empty() ? "cannot run xmllint" : output;
        }
    }
    return report;
}

} // namespace bt
