#pragma once

namespace qxk {

// Something whose changes are observed. Changes made inside an update group
// reach the observers once, when the outermost group ends; groups nest.
class Observable {
public:
    void BeginUpdateGroup();
    void EndUpdateGroup();
    bool IsInUpdateGroup() const;

    struct State;  // the host's record of groups and observers
    State& GetObservableState() const { return *observableState_; }

protected:
    Observable();
    virtual ~Observable();
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

private:
    State* observableState_;
};

}  // namespace qxk
