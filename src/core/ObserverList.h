#pragma once

#include <algorithm>
#include <vector>

// An ordered list of non-owning observer pointers. Registering an observer that is
// already present moves it to the end, so nobody is notified twice; removal is by
// identity. Notification iterates over a copy, so an observer added or removed
// inside a callback takes effect with the next notification.
template <typename Observer>
class ObserverList final
{
public:
    void add(Observer* observer)
    {
        remove(observer);
        m_observers.push_back(observer);
    }

    void remove(Observer* observer)
    {
        m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
    }

    bool contains(const Observer* observer) const
    {
        return std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end();
    }

    template <typename Fn>
    void notify(Fn&& fn) const
    {
        const std::vector<Observer*> snapshot = m_observers;
        for (Observer* observer : snapshot)
            fn(*observer);
    }

    const std::vector<Observer*>& items() const { return m_observers; }
    bool empty() const { return m_observers.empty(); }

private:
    std::vector<Observer*> m_observers;
};
