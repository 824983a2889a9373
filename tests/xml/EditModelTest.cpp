// Many handles on the nodes of many documents, parsed, built and copied, that are changed, moved, forgotten
// and deleted at random, against a plain model of the same. The address checker sees what is used too late,
// the leak checker what is not freed.
#include "XmlTest.h"

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

struct Model {
    std::wstring name;
    bool named = true;
    Model* parent = nullptr;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
    std::vector<std::shared_ptr<Model>> children;
    std::vector<std::wstring> texts;
    std::vector<std::wstring> clears;
    std::vector<std::pair<XMLElementType, int>> order;

    Model() = default;
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;
    ~Model() { LeaveChildren(); }

    void LeaveChildren() {
        for (auto& child : children)
            child->parent = nullptr;
        children.clear();
    }

    // The place in the order is that before the next of its kind; the last element is looked at only at its
    // own.
    template <class Item>
    void Insert(XMLElementType type, std::vector<Item>& items, int pos, const Item& item) {
        const int elements = static_cast<int>(order.size());
        int index = static_cast<int>(items.size());
        int position = elements;
        const int last = pos == elements - 1 ? elements : elements - 1;
        for (int i = std::max(pos, 0); pos >= 0 && i < last && position == elements; ++i) {
            if (order[static_cast<std::size_t>(i)].first == type) {
                index = order[static_cast<std::size_t>(i)].second;
                position = pos;
            }
        }
        for (auto& entry : order)
            entry.second += entry.first == type && entry.second >= index;
        order.insert(order.begin() + position, {type, index});
        items.insert(items.begin() + index, item);
    }

    template <class Item>
    void Remove(XMLElementType type, std::vector<Item>& items, int index) {
        order.erase(std::find(order.begin(), order.end(), std::pair(type, index)));
        for (auto& entry : order)
            entry.second -= entry.first == type && entry.second > index;
        items.erase(items.begin() + index);
    }

    void LeaveParent() {
        if (!parent)
            return;
        auto& siblings = parent->children;
        const auto self = [this](const auto& child) { return child.get() == this; };
        const auto at = std::find_if(siblings.begin(), siblings.end(), self) - siblings.begin();
        parent->Remove(XMLELEMENT_CHILD, siblings, static_cast<int>(at));
        parent = nullptr;
    }

    void Adopt(const std::shared_ptr<Model>& child, int pos) {
        const bool moves = child->parent == this;
        const std::shared_ptr<Model> held = child;
        held->LeaveParent();
        if (moves && pos >= static_cast<int>(order.size()))
            --pos;
        Insert(XMLELEMENT_CHILD, children, pos, held);
        held->parent = this;
    }

    std::shared_ptr<Model> Copy() const {
        auto copy = std::make_shared<Model>();
        copy->name = name;
        copy->named = named;
        copy->attributes = attributes;
        copy->texts = texts;
        copy->clears = clears;
        copy->order = order;
        for (const auto& child : children) {
            copy->children.push_back(child->Copy());
            copy->children.back()->parent = copy.get();
        }
        return copy;
    }

    std::wstring Told() const {
        std::wstring told = L"(" + (named ? name : L"~");
        for (const auto& [attribute, value] : attributes)
            told += L" " + attribute + L"=" + value;
        for (const auto& [type, i] : order) {
            const std::size_t at = static_cast<std::size_t>(i);
            told += type == XMLELEMENT_CHILD  ? children[at]->Told()
                    : type == XMLELEMENT_TEXT ? L"|t" + texts[at]
                                              : L"|x" + clears[at];
        }
        return told + L")";
    }
};

std::wstring Told(const XMLNode& node) {
    std::wstring told = L"(" + std::wstring(node.getName() ? node.getName() : L"~");
    for (int i = 0; i < node.nAttribute() + node.nElement(); ++i) {
        const XMLNodeContents contents = node.enumContents(i);
        if (contents.type == XMLELEMENT_ATTRIBUTE)
            told += L" " + std::wstring(contents.attribute.name) + L"=" + contents.attribute.value;
        else if (contents.type == XMLELEMENT_CHILD)
            told += Told(contents.child);
        else
            told += contents.type == XMLELEMENT_TEXT ? std::wstring(L"|t") + contents.text
                                                     : std::wstring(L"|x") + contents.clear.value;
    }
    return told + L")";
}

class XmlEditModelTest : public XmlTest {
protected:
    struct Handle {
        XMLNode node;
        std::shared_ptr<Model> model;
    };

    unsigned Below(std::size_t limit) { return static_cast<unsigned>(m_random() % limit); }
    std::wstring Label() { return L"l" + std::to_wstring(Below(50)); }

    // A document's text, and its model.
    std::shared_ptr<Model> Make(int depth, std::wstring& text) {
        auto model = std::make_shared<Model>();
        model->name = Label();
        text += L"<" + model->name;
        for (unsigned left = Below(3); left; --left) {
            model->attributes.emplace_back(Label(), Label());
            text += L" " + model->attributes.back().first + L"='" + model->attributes.back().second + L"'";
        }
        text += L">";
        bool behindText = false;
        for (unsigned left = Below(5); left; --left) {
            const unsigned kind = Below(3);
            const std::wstring label = Label();
            if (kind == 0 && depth < 4) {
                const auto child = Make(depth + 1, text);
                model->Adopt(child, -1);
            } else if (kind == 1 && !behindText) {
                text += label;
                model->Insert(XMLELEMENT_TEXT, model->texts, -1, label);
            } else {
                text += L"<![CDATA[" + label + L"]]>";
                model->Insert(XMLELEMENT_CLEAR, model->clears, -1, label);
            }
            behindText = kind == 1;
        }
        text += L"</" + model->name + L">";
        return model;
    }

    void Parse() {
        std::wstring text;
        const auto model = Make(0, text);
        m_handles.push_back({ParseSound(text), model});
    }

    void Step() {
        if (m_handles.size() > 30 || (m_handles.size() > 2 && Below(6) == 0)) {
            m_handles.erase(m_handles.begin() + Below(m_handles.size()));
            return;
        }
        if (m_handles.size() < 3)
            Parse();
        const Handle handle = m_handles[Below(m_handles.size())];
        const Handle other = m_handles[Below(m_handles.size())];
        XMLNode node = handle.node;
        Model& model = *handle.model;
        const int pos = static_cast<int>(Below(8)) - 1;
        const std::wstring label = Label();
        switch (Below(14)) {
        case 0:
            Parse();
            break;
        case 1:
            node.addText(label.c_str(), pos);
            model.Insert(XMLELEMENT_TEXT, model.texts, pos, label);
            break;
        case 2:
            node.addClear_WOSD(stringDup(label.c_str()), nullptr, nullptr, pos);
            model.Insert(XMLELEMENT_CLEAR, model.clears, pos, label);
            break;
        case 3: {
            node.addChild(label.c_str(), 0, pos);
            auto child = std::make_shared<Model>();
            child->name = label;
            model.Adopt(child, pos);
            break;
        }
        case 4:
        case 5: {
            bool below = false;
            for (const Model* up = &model; up; up = up->parent)
                below = below || up == other.model.get();
            EXPECT_EQ(node.addChild(other.node, pos).isEmpty(), below);
            if (!below)
                model.Adopt(other.model, pos);
            break;
        }
        case 6:
            if (!model.texts.empty()) {
                const unsigned i = Below(model.texts.size());
                node.deleteText(static_cast<int>(i));
                model.Remove(XMLELEMENT_TEXT, model.texts, static_cast<int>(i));
            }
            break;
        case 7:
            if (!model.clears.empty()) {
                const unsigned i = Below(model.clears.size());
                node.deleteClear(node.getClear(static_cast<int>(i)).value);
                model.Remove(XMLELEMENT_CLEAR, model.clears, static_cast<int>(i));
            }
            break;
        case 8:
            node.addAttribute(label.c_str(), L"added");
            model.attributes.emplace_back(label, L"added");
            break;
        case 9:
            if (!model.attributes.empty()) {
                const unsigned i = Below(model.attributes.size());
                node.updateAttribute(label.c_str(), L"updated", static_cast<int>(i));
                model.attributes[i] = {L"updated", label};
                node.deleteAttribute(0);
                model.attributes.erase(model.attributes.begin());
            }
            break;
        case 10:
            node.updateName(label.c_str());
            model.name = label;
            model.named = true;
            if (!model.texts.empty()) {
                node.updateText(label.c_str(), node.getText(0));
                model.texts[0] = label;
            }
            break;
        case 11:
            m_handles.push_back({node.deepCopy(), model.Copy()});
            break;
        case 12:
            node.deleteNodeContent();
            EXPECT_TRUE(node.isEmpty());
            model.LeaveParent();
            model.LeaveChildren();
            model.named = false;
            model.attributes.clear();
            model.texts.clear();
            model.clears.clear();
            model.order.clear();
            break;
        default:
            if (!model.children.empty()) {
                const unsigned i = Below(model.children.size());
                m_handles.push_back({node.getChildNode(static_cast<int>(i)), model.children[i]});
            }
            break;
        }
    }

    std::mt19937 m_random{11};
    std::vector<Handle> m_handles;
};

TEST_F(XmlEditModelTest, DocumentsThatAreChangedAtRandomStayWhatTheModelSays) {
    for (int round = 0; round < 15000; ++round) {
        Step();
        if (round % 10 != 0)
            continue;
        for (const Handle& handle : m_handles) {
            ASSERT_EQ(Told(handle.node), handle.model->Told()) << round;
            ASSERT_EQ(handle.node.getParentNode().isEmpty(), handle.model->parent == nullptr) << round;
        }
    }
}

} // namespace
